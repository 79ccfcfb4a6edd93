// Times as ISO 8601 text in UTC, "2025-03-01T09:30:00Z", as every file of ours holds them. Instants outside the years
// 1 to 9999 are written as the nearest instant inside them.
// Read are real dates of those years with "Z" or an offset (+hh:mm, +hhmm, +hh) and any number of fraction digits, of
// which the first nine count; everything else is absent. Tested by Tests/Core/IsoDateTests.cpp.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::IsoDate {

// Whole seconds, rounded down.
std::array<char, 20> characters(Instant instant);
std::string text(Instant instant);

// With nine digits of fraction unless it is zero.
std::string preciseText(Instant instant);

std::optional<Instant> parse(std::string_view text);

// Rounded down to a whole second.
std::optional<Instant> parseSeconds(std::string_view text);

}  // namespace pellora::IsoDate
