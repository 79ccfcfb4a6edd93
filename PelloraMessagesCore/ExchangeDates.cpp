// The dates of the exchange coding. The calendar arithmetic is that of the proleptic Gregorian calendar, counted
// from 1 March 0000 in eras of 400 years, so that leap days end their years.
#include <algorithm>

#include "PelloraMessagesCore/ExchangeCoding.h"

namespace pellora::ExchangeCoding {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kDaysPerEra = 146'097;
constexpr std::int64_t kDaysToUnixEpoch = 719'468;         // from 1 March 0000
constexpr std::int64_t kEarliestSecond = -62'135'596'800;  // 0001-01-01T00:00:00Z
constexpr std::int64_t kLatestSecond = 253'402'300'799;    // 9999-12-31T23:59:59Z
constexpr std::size_t kShortestDate = sizeof "0000-00-00T00:00:00Z" - 1;

struct CivilDate {
  std::int64_t year = 0;
  std::int64_t month = 0;
  std::int64_t day = 0;
};

// `days` since 1970-01-01, of a year from 1 on.
CivilDate civilDate(std::int64_t days) {
  const std::int64_t shifted = days + kDaysToUnixEpoch;
  const std::int64_t era = shifted / kDaysPerEra;
  const std::int64_t dayOfEra = shifted % kDaysPerEra;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  const std::int64_t day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
  return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month, day};
}

std::int64_t daysSinceEpoch(const CivilDate& date) {
  const std::int64_t year = date.month <= 2 ? date.year - 1 : date.year;
  const std::int64_t yearOfEra = year % 400;
  const std::int64_t monthFromMarch = date.month > 2 ? date.month - 3 : date.month + 9;
  const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + date.day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return year / 400 * kDaysPerEra + dayOfEra - kDaysToUnixEpoch;
}

std::int64_t daysInMonth(std::int64_t year, std::int64_t month) {
  constexpr std::array<std::int64_t, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool isLeapYear = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && isLeapYear ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
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

  bool takeNumber(std::size_t digits, std::int64_t smallest, std::int64_t largest, std::int64_t& value) {
    if (_rest.size() < digits || !std::all_of(_rest.begin(), _rest.begin() + digits, isDigit)) return false;
    value = 0;
    for (const char digit : _rest.substr(0, digits)) value = value * 10 + (digit - '0');
    _rest.remove_prefix(digits);
    return value >= smallest && value <= largest;
  }

  bool takeAnyDigits() {
    const std::size_t size = _rest.size();
    while (!_rest.empty() && isDigit(_rest.front())) _rest.remove_prefix(1);
    return _rest.size() < size;
  }

  bool isAtEnd() const { return _rest.empty(); }

 private:
  std::string_view _rest;
};

// Seconds east of Greenwich.
bool takeOffset(Scanner& scanner, std::int64_t& offset) {
  offset = 0;
  if (scanner.take('Z')) return true;
  const bool isEast = scanner.take('+');
  if (!isEast && !scanner.take('-')) return false;
  std::int64_t hours = 0;
  std::int64_t minutes = 0;
  if (!scanner.takeNumber(2, 0, 23, hours)) return false;
  const bool hasColon = scanner.take(':');
  if ((hasColon || !scanner.isAtEnd()) && !scanner.takeNumber(2, 0, 59, minutes)) return false;
  offset = (hours * 60 + minutes) * (isEast ? 60 : -60);
  return true;
}

void putDigits(char* place, int digits, std::int64_t value) {
  for (int index = digits - 1; index >= 0; --index) {
    place[index] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
}

}  // namespace

std::array<char, 20> dateCharacters(Instant date) {
  const Instant inside = std::clamp(date, instantAtSeconds(kEarliestSecond), instantAtSeconds(kLatestSecond));
  const std::int64_t seconds = wholeSeconds(inside) - kEarliestSecond;
  const std::int64_t secondOfDay = seconds % kSecondsPerDay;
  const CivilDate civil = civilDate((seconds - secondOfDay + kEarliestSecond) / kSecondsPerDay);
  std::array<char, 20> characters = {'0', '0', '0', '0', '-', '0', '0', '-', '0', '0',
                                     'T', '0', '0', ':', '0', '0', ':', '0', '0', 'Z'};
  putDigits(&characters[0], 4, civil.year);
  putDigits(&characters[5], 2, civil.month);
  putDigits(&characters[8], 2, civil.day);
  putDigits(&characters[11], 2, secondOfDay / 3600);
  putDigits(&characters[14], 2, secondOfDay / 60 % 60);
  putDigits(&characters[17], 2, secondOfDay % 60);
  return characters;
}

std::string dateText(Instant date) {
  const std::array<char, 20> characters = dateCharacters(date);
  return std::string(characters.data(), characters.size());
}

std::optional<Instant> parseDate(std::string_view text) {
  if (text.size() < kShortestDate) return std::nullopt;
  Scanner scanner(text);
  CivilDate civil;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
  const bool hasFields =
      scanner.takeNumber(4, 1, 9999, civil.year) && scanner.take('-') && scanner.takeNumber(2, 1, 12, civil.month) &&
      scanner.take('-') && scanner.takeNumber(2, 1, daysInMonth(civil.year, civil.month), civil.day) &&
      scanner.take('T') && scanner.takeNumber(2, 0, 23, hour) && scanner.take(':') &&
      scanner.takeNumber(2, 0, 59, minute) && scanner.take(':') && scanner.takeNumber(2, 0, 59, second);
  if (!hasFields) return std::nullopt;
  if (scanner.take('.') && !scanner.takeAnyDigits()) return std::nullopt;
  std::int64_t offset = 0;
  if (!takeOffset(scanner, offset) || !scanner.isAtEnd()) return std::nullopt;
  const std::int64_t seconds = daysSinceEpoch(civil) * kSecondsPerDay + hour * 3600 + minute * 60 + second - offset;
  if (seconds < kEarliestSecond || seconds > kLatestSecond) return std::nullopt;
  return instantAtSeconds(seconds);
}

}  // namespace pellora::ExchangeCoding
