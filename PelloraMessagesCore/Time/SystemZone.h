// Finds the rules of a time zone where the C library finds them, so that days here are those of every other program:
//
//   TZ not set          /etc/localtime
//   TZ empty or ":"     UTC
//   else, without ':'   the file of that absolute path or of that name below $TZDIR or /usr/share/zoneinfo; else the
//                       POSIX rule it spells; else UTC
//
// Files are read anew each time, about ten microseconds, so a change of the machine's zone is never missed. Where the
// folder of zones is missing altogether, the Unicode library's own zones stand in. Never throws for what a machine
// may lack. Any thread, as long as nobody changes the environment. Tested by Tests/Core/SystemZoneTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/ZoneStretch.h"

namespace pellora::SystemZone {

// Where to look.
struct Places {
  std::optional<std::string> variable;  // TZ; absent when it is not set
  std::filesystem::path database = "/usr/share/zoneinfo";
  std::filesystem::path localTime = "/etc/localtime";
};

// As this process and its environment say at this moment.
Places places();

// The zone that the machine is set to.
ZoneFinder current(const Places& places);

// The zone with a name as "Europe/Berlin"; one that the database does not have, and a name that leads out of its
// folder, is UTC.
ZoneFinder named(std::string_view name, const Places& places);

}  // namespace pellora::SystemZone
