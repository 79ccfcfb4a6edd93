#include "Adapters/Linux/Files/InstantText.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace pellora::InstantText {

namespace {

constexpr std::int64_t kBillion = 1'000'000'000;
constexpr std::size_t kFractionDigits = 9;
constexpr std::size_t kSecondsLength = 19;  // "2026-11-21T04:29:00"

constexpr Instant startOfYear(int year) {
  const std::chrono::sys_days day = std::chrono::year(year) / std::chrono::January / 1;
  return instantAtSeconds(std::int64_t{day.time_since_epoch().count()} * 86'400);
}

std::optional<int> number(std::string_view text, std::size_t at, std::size_t digits) {
  if (at + digits > text.size()) return std::nullopt;
  int value = 0;
  for (const char c : text.substr(at, digits)) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

// "Z" or "+01:00", in seconds east.
std::optional<std::int64_t> offset(std::string_view text) {
  if (text == "Z") return 0;
  if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return std::nullopt;
  const auto hours = number(text, 1, 2);
  const auto minutes = number(text, 4, 2);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) return std::nullopt;
  const std::int64_t seconds = *hours * 3600 + *minutes * 60;
  return text[0] == '-' ? -seconds : seconds;
}

std::optional<std::int64_t> secondsSince1970(std::string_view text) {
  if (text.size() < kSecondsLength || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
      text[16] != ':')
    return std::nullopt;
  const std::array<std::optional<int>, 6> field{number(text, 0, 4),  number(text, 5, 2),  number(text, 8, 2),
                                                number(text, 11, 2), number(text, 14, 2), number(text, 17, 2)};
  if (!std::ranges::all_of(field, [](const auto& value) { return value.has_value(); })) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*field[0]),
                                         std::chrono::month(static_cast<unsigned>(*field[1])),
                                         std::chrono::day(static_cast<unsigned>(*field[2])));
  if (*field[0] == 0 || !date.ok() || *field[3] > 23 || *field[4] > 59 || *field[5] > 59) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * 86'400 + *field[3] * std::int64_t{3600} + *field[4] * std::int64_t{60} + *field[5];
}

}  // namespace

std::string format(Instant instant) {
  const Instant inside = std::clamp(instant, startOfYear(1), startOfYear(10'000) - Nanoseconds(1));
  const std::int64_t seconds = wholeSeconds(inside);
  const auto fraction = static_cast<std::int64_t>((inside - instantAtSeconds(seconds)).count());
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  std::string text(buffer.data());
  if (fraction != 0) text += "." + std::to_string(kBillion + fraction).substr(1);
  return text + "Z";
}

std::optional<Instant> parse(std::string_view text) {
  const auto seconds = secondsSince1970(text);
  if (!seconds) return std::nullopt;
  std::size_t at = kSecondsLength;
  std::int64_t nanoseconds = 0;
  if (at < text.size() && text[at] == '.') {
    const std::size_t end = std::min(text.find_first_not_of("0123456789", at + 1), text.size());
    const std::size_t digits = end - at - 1;
    if (digits == 0 || digits > kFractionDigits) return std::nullopt;
    nanoseconds = *number(text, at + 1, digits);
    for (std::size_t missing = digits; missing < kFractionDigits; ++missing) nanoseconds *= 10;
    at = end;
  }
  const auto east = offset(text.substr(at));
  if (!east) return std::nullopt;
  return instantAtSeconds(*seconds - *east) + Nanoseconds(nanoseconds);
}

}  // namespace pellora::InstantText
