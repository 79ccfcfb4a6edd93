// Absolute times, and how every file of ours writes them.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pellora {

// Nanoseconds are counted in 128 bits because the Messages store holds dates (seconds up to ten thousand million after
// 2001, and anything a damaged row may say) that 64 bits of nanoseconds since 1970 do not.
__extension__ typedef __int128 Int128;

using Nanoseconds = std::chrono::duration<Int128, std::nano>;

// UTC, without leap seconds, as the system clock counts.
using Instant = std::chrono::time_point<std::chrono::system_clock, Nanoseconds>;

// Seconds since 1970, rounded down.
constexpr std::int64_t wholeSeconds(Instant instant) {
  return static_cast<std::int64_t>(std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch()).count());
}

constexpr Instant instantAtSeconds(std::int64_t secondsSince1970) {
  return Instant(Nanoseconds(static_cast<Int128>(secondsSince1970) * 1'000'000'000));
}

// The years 1 to 9999 (UTC), as far as dates can be written with four digits and calendars reach.
constexpr Instant kEarliestInstant = instantAtSeconds(-62'135'596'800);
constexpr Instant kLatestInstant = instantAtSeconds(253'402'300'800) - Nanoseconds(1);

// The nearest instant inside them.
constexpr Instant insideCalendar(Instant instant) {
  return std::clamp(instant, kEarliestInstant, kLatestInstant);
}

}  // namespace pellora

// Times as ISO 8601 text in UTC, "2025-03-01T09:30:00Z", as every file of ours holds them. Instants outside the years
// 1 to 9999 are written as the nearest instant inside them.
// Read are real dates of those years with "Z" or an offset (+hh:mm, +hhmm, +hh) and any number of fraction digits, of
// which the first nine count; everything else is absent. Tested by Tests/Core/IsoDateTests.cpp.
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
