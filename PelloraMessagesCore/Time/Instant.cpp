#include "PelloraMessagesCore/Time/Instant.h"

#include <algorithm>

namespace pellora::IsoDate {

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr std::int64_t kBillion = 1'000'000'000;
constexpr std::size_t kFractionDigits = 9;
constexpr std::size_t kShortestText = sizeof "0000-00-00T00:00:00Z" - 1;

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

void putDigits(char* place, int digits, std::int64_t value) {
  for (int index = digits - 1; index >= 0; --index, value /= 10) place[index] = static_cast<char>('0' + value % 10);
}

// Takes characters off the front of a text.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : _rest(text) {}

  bool take(char character) {
    if (!_rest.starts_with(character)) return false;
    _rest.remove_prefix(1);
    return true;
  }

  bool takeNumber(std::size_t digits, int largest, int& value) {
    if (_rest.size() < digits || !std::all_of(_rest.begin(), _rest.begin() + digits, isDigit)) return false;
    value = 0;
    for (const char digit : _rest.substr(0, digits)) value = value * 10 + (digit - '0');
    _rest.remove_prefix(digits);
    return value <= largest;
  }

  // At least one digit.
  bool takeFraction(std::int64_t& nanoseconds) {
    std::size_t digits = 0;
    nanoseconds = 0;
    for (; digits < _rest.size() && isDigit(_rest[digits]); ++digits)
      if (digits < kFractionDigits) nanoseconds = nanoseconds * 10 + (_rest[digits] - '0');
    for (std::size_t missing = digits; missing < kFractionDigits; ++missing) nanoseconds *= 10;
    _rest.remove_prefix(digits);
    return digits > 0;
  }

  bool isAtEnd() const { return _rest.empty(); }

 private:
  std::string_view _rest;
};

// East of Greenwich.
bool takeOffset(Scanner& scanner, minutes& offset) {
  if (scanner.take('Z')) return true;
  const bool isEast = scanner.take('+');
  if (!isEast && !scanner.take('-')) return false;
  int hour = 0;
  int minute = 0;
  if (!scanner.takeNumber(2, 23, hour)) return false;
  const bool hasColon = scanner.take(':');
  if ((hasColon || !scanner.isAtEnd()) && !scanner.takeNumber(2, 59, minute)) return false;
  offset = hours(hour) + minutes(minute);
  if (!isEast) offset = -offset;
  return true;
}

}  // namespace

std::array<char, 20> characters(Instant instant) {
  const std::chrono::sys_seconds time{seconds(wholeSeconds(insideCalendar(instant)))};
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::int64_t second = (time - day).count();
  std::array<char, 20> result = {'0', '0', '0', '0', '-', '0', '0', '-', '0', '0',
                                 'T', '0', '0', ':', '0', '0', ':', '0', '0', 'Z'};
  putDigits(&result[0], 4, static_cast<int>(date.year()));
  putDigits(&result[5], 2, static_cast<unsigned>(date.month()));
  putDigits(&result[8], 2, static_cast<unsigned>(date.day()));
  putDigits(&result[11], 2, second / 3600);
  putDigits(&result[14], 2, second / 60 % 60);
  putDigits(&result[17], 2, second % 60);
  return result;
}

std::string text(Instant instant) {
  const std::array<char, 20> result = characters(instant);
  return std::string(result.data(), result.size());
}

std::string preciseText(Instant instant) {
  const Instant inside = insideCalendar(instant);
  const auto fraction = static_cast<std::int64_t>((inside - instantAtSeconds(wholeSeconds(inside))).count());
  std::string result = text(inside);
  if (fraction != 0) result.insert(result.size() - 1, "." + std::to_string(kBillion + fraction).substr(1));
  return result;
}

std::optional<Instant> parse(std::string_view text) {
  if (text.size() < kShortestText) return std::nullopt;
  Scanner scanner(text);
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  const bool hasFields = scanner.takeNumber(4, 9999, year) && scanner.take('-') && scanner.takeNumber(2, 12, month) &&
                         scanner.take('-') && scanner.takeNumber(2, 31, day) && scanner.take('T') &&
                         scanner.takeNumber(2, 23, hour) && scanner.take(':') && scanner.takeNumber(2, 59, minute) &&
                         scanner.take(':') && scanner.takeNumber(2, 59, second);
  if (!hasFields) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  std::int64_t nanoseconds = 0;
  if (!date.ok() || (scanner.take('.') && !scanner.takeFraction(nanoseconds))) return std::nullopt;
  minutes offset{0};
  if (!takeOffset(scanner, offset) || !scanner.isAtEnd()) return std::nullopt;
  const seconds whole = std::chrono::sys_days(date).time_since_epoch() + hours(hour) + minutes(minute) +
                        seconds(second) - seconds(offset);
  const Instant result = instantAtSeconds(whole.count()) + Nanoseconds(nanoseconds);
  return insideCalendar(result) == result ? std::optional(result) : std::nullopt;
}

std::optional<Instant> parseSeconds(std::string_view text) {
  const std::optional<Instant> instant = parse(text);
  return instant ? std::optional(instantAtSeconds(wholeSeconds(*instant))) : std::nullopt;
}

}  // namespace pellora::IsoDate
