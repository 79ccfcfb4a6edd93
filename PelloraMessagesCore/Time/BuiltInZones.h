// The time zones that the Unicode library brings along, for machines without zones of their own. They may be older
// than the world's. Tested by Tests/Core/SystemZoneTests.cpp.
#pragma once

#include <string_view>

#include "PelloraMessagesCore/Time/ZoneStretch.h"

namespace pellora::BuiltInZones {

// Empty for a name that the library does not know. The result serves one thread at a time.
ZoneFinder named(std::string_view name);

}  // namespace pellora::BuiltInZones
