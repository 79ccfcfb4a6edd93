// The shared JSON coding of every exchange file: keys are the field names, sorted, on one line without added white
// space; times are ISO 8601 in UTC with whole seconds (rounded down) and "Z"; absent optionals are left out.
// Reading takes "Z" or an offset and fractions, UUIDs in either case, and ignores unknown keys; a missing required
// key, a wrong type or an unknown word makes the whole absent. An optional is absent when its key is missing or
// null; of a key that stands twice the last value counts; a whole number may be written with a fraction of zero.
// Total: any bytes give a value or nothing. Tested by Tests/Core/ExchangeCodingTests.cpp.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct HelperDayNotes;
struct HelperHeartbeat;
struct HelperPeopleFile;
struct HelperState;
struct MessagesLatelyRecord;

namespace ExchangeCoding {

std::string encode(const HelperPeopleFile& value);
std::string encode(const HelperHeartbeat& value);
std::string encode(const HelperDayNotes& value);
std::string encode(const HelperState& value);
std::string encode(const MessagesLatelyRecord& value);

// `decode<HelperHeartbeat>(bytes)`, likewise for the other four.
template <class Value>
std::optional<Value> decode(std::string_view json);

// "2025-03-01T09:30:00Z". Years outside 1 to 9999 are written as the nearest instant inside them.
std::string dateText(Instant date);
std::array<char, 20> dateCharacters(Instant date);

// Real dates of the years 1 to 9999 only. "Z" or an offset (+hh:mm, +hhmm, +hh) is required; a fraction is read and
// dropped, so the result is a whole second, rounded down.
std::optional<Instant> parseDate(std::string_view text);

}  // namespace ExchangeCoding

}  // namespace pellora
