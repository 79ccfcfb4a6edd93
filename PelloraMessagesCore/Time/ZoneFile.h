// Reads the compiled zone files of the system ("TZif", RFC 8536 and 9636, versions 1 to 4). A file is:
//
//   header  44 bytes: "TZif", a version byte (0, '2', '3' or '4'), 15 bytes unused, six 32-bit counts: UTC
//           indicators, standard indicators, leap seconds, transitions, types, name bytes
//   block   transitions (4 bytes each), their types (1 byte each), types (4 bytes offset, 1 daylight, 1 name), name
//           bytes, leap seconds (8 bytes each), indicators (1 byte each)
//
// From version 2 on the same again with 8 bytes a transition and 12 a leap second, then the rule for the time after
// the last transition between two line ends. All numbers big-endian, two's complement. Leap seconds are passed over:
// a zone of "right/" is up to half a minute late. Pure. Tested by Tests/Core/ZoneFileTests.cpp and
// ZonesAndLibcTests.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "PelloraMessagesCore/Time/ZoneRules.h"

namespace pellora::ZoneFile {

// No file of the system comes near.
constexpr std::size_t kLargestFile = std::size_t{1} << 20;  // bytes

// The rules in the bytes of a file, of the 64-bit block when there is one. Absent when they are no such file, are cut
// short before its last block ends, contradict themselves or are larger than kLargestFile. A rule at the end that is
// missing, cut or not understood is left out.
std::optional<ZoneRules> read(std::string_view bytes);

}  // namespace pellora::ZoneFile
