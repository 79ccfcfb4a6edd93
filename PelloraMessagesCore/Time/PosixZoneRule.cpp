#include "PelloraMessagesCore/Time/PosixZoneRule.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace pellora {

namespace {

using Change = PosixZoneRule::Change;

constexpr std::int64_t kSecondsPerHour = 3'600;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kDaysPerWeek = 7;
constexpr std::int64_t kLatestTime = kDaysPerWeek * kSecondsPerDay - 1;
constexpr int kLargestNumber = 99'999;
constexpr int kFirstYear = -9'999;
constexpr int kLastYear = 19'999;
// A change may lie up to nine days outside its year, so both of a year can lie in the next one or the one before.
constexpr int kYearsAround = 2;
constexpr std::size_t kYearsLookedAt = 5;  // those and its own
static_assert(kYearsLookedAt == std::size_t{2} * kYearsAround + 1);

constexpr std::int64_t daysUntil(int year, unsigned month, unsigned day) {
  return std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}}
      .time_since_epoch()
      .count();
}

constexpr std::int64_t kFirstSecond = daysUntil(kFirstYear, 1, 1) * kSecondsPerDay;
constexpr std::int64_t kEndSecond = daysUntil(kLastYear + 1, 1, 1) * kSecondsPerDay;

bool isLetter(char each) {
  return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z');
}

bool isDigit(char each) {
  return each >= '0' && each <= '9';
}

// What is left of the text; every function takes what it reads from the front.
class Reader {
 public:
  explicit Reader(std::string_view text) : _rest(text) {}

  bool isAtEnd() const { return _rest.empty(); }
  bool isAt(char each) const { return !_rest.empty() && _rest.front() == each; }
  bool isAtDigit() const { return !_rest.empty() && isDigit(_rest.front()); }
  bool isAtSign() const { return isAt('+') || isAt('-'); }

  bool take(char each) {
    if (!isAt(each)) return false;
    _rest.remove_prefix(1);
    return true;
  }

  std::optional<int> number() {
    if (!isAtDigit()) return std::nullopt;
    int result = 0;
    for (; isAtDigit(); _rest.remove_prefix(1)) result = std::min(result * 10 + (_rest.front() - '0'), kLargestNumber);
    return result;
  }

  bool name() {
    constexpr std::size_t kShortestName = 3;
    const bool isQuoted = isAt('<');
    const std::size_t begin = isQuoted ? 1 : 0;
    std::size_t end = begin;
    while (end < _rest.size() &&
           (isLetter(_rest[end]) || (isQuoted && (isDigit(_rest[end]) || _rest[end] == '+' || _rest[end] == '-'))))
      ++end;
    if (end - begin < kShortestName) return false;
    if (isQuoted && (end == _rest.size() || _rest[end] != '>')) return false;
    _rest.remove_prefix(isQuoted ? end + 1 : end);
    return true;
  }

  // East of Greenwich; what is beyond a clock's numbers is taken as the largest of them.
  std::optional<std::int64_t> offset() {
    const auto clock = this->clock();
    if (!clock) return std::nullopt;
    const std::int64_t west = std::min(clock->hours, 24) * kSecondsPerHour + std::min(clock->minutes, 59) * 60LL +
                              std::min(clock->seconds, 59);
    return clock->isNegative ? west : -west;
  }

  std::optional<Change> change(const Change& standard) {
    take(',');
    Change result = isAtEnd() ? standard : Change{};
    if (!isAtEnd() && !date(result)) return std::nullopt;
    if (take('/')) {
      const auto clock = this->clock();
      if (!clock) return std::nullopt;
      const std::int64_t time = clock->hours * kSecondsPerHour + clock->minutes * 60LL + clock->seconds;
      if (time > kLatestTime) return std::nullopt;
      result.time = clock->isNegative ? -time : time;
    } else if (!isAtEnd() && !isAt(',')) {
      return std::nullopt;
    }
    return result;
  }

 private:
  struct Clock {
    bool isNegative = false;
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
  };

  std::optional<Clock> clock() {
    Clock result;
    result.isNegative = isAt('-');
    if (isAtSign()) _rest.remove_prefix(1);
    const auto hours = number();
    if (!hours) return std::nullopt;
    result.hours = *hours;
    if (!take(':')) return result;
    const auto minutes = number();
    if (!minutes) return std::nullopt;
    result.minutes = *minutes;
    if (!take(':')) return result;
    const auto seconds = number();
    if (!seconds) return std::nullopt;
    result.seconds = *seconds;
    return result;
  }

  bool date(Change& result) {
    const auto numberIn = [this](int& number, int first, int last) {
      const auto found = this->number();
      number = found.value_or(0);
      return found && number >= first && number <= last;
    };
    if (take('M')) {
      result.kind = Change::Kind::monthWeekday;
      return numberIn(result.month, 1, 12) && take('.') && numberIn(result.week, 1, 5) && take('.') &&
             numberIn(result.day, 0, 6);
    }
    if (take('J')) {
      result.kind = Change::Kind::dayWithoutLeapDay;
      return numberIn(result.day, 1, 365);
    }
    result.kind = Change::Kind::dayOfYear;
    return numberIn(result.day, 0, 365);
  }

  std::string_view _rest;
};

// Days since 1970 of the change's midnight in that year.
std::int64_t dayOf(const Change& change, int year) {
  constexpr int kMarchFirst = 60;  // as Jn counts
  const std::int64_t newYear = daysUntil(year, 1, 1);
  switch (change.kind) {
    case Change::Kind::dayOfYear:
      return newYear + change.day;
    case Change::Kind::dayWithoutLeapDay:
      return newYear + change.day - 1 + (change.day >= kMarchFirst && std::chrono::year{year}.is_leap() ? 1 : 0);
    case Change::Kind::monthWeekday:
      break;
  }
  const auto month = static_cast<unsigned>(change.month);
  const std::int64_t first = daysUntil(year, month, 1);
  const std::chrono::weekday weekday{std::chrono::sys_days{std::chrono::days{first}}};
  const std::int64_t ahead = (change.day - static_cast<int>(weekday.c_encoding()) + kDaysPerWeek) % kDaysPerWeek;
  const std::int64_t day = first + ahead + (change.week - 1) * kDaysPerWeek;
  const std::int64_t nextMonth = month == 12 ? daysUntil(year + 1, 1, 1) : daysUntil(year, month + 1, 1);
  return day < nextMonth ? day : day - kDaysPerWeek;
}

}  // namespace

std::optional<PosixZoneRule> PosixZoneRule::parse(std::string_view text) {
  constexpr Change kAmericanBegin{Change::Kind::monthWeekday, 3, 2, 0};
  constexpr Change kAmericanEnd{Change::Kind::monthWeekday, 11, 1, 0};
  Reader reader(text);
  PosixZoneRule result;
  if (!reader.name()) return std::nullopt;
  const auto offset = reader.offset();
  if (!offset) return std::nullopt;
  result._offset = *offset;
  if (reader.isAtEnd()) return result;

  if (!reader.name()) return std::nullopt;
  Daylight daylight;
  daylight.offset = result._offset + kSecondsPerHour;
  if (reader.isAtSign() || reader.isAtDigit()) {
    const auto given = reader.offset();
    if (!given) return std::nullopt;
    daylight.offset = *given;
  }
  const auto begin = reader.change(kAmericanBegin);
  if (!begin) return std::nullopt;
  const auto end = reader.change(kAmericanEnd);
  if (!end) return std::nullopt;
  daylight.begin = *begin;
  daylight.end = *end;
  result._daylight = daylight;
  return result;
}

ZoneStretch PosixZoneRule::stretch(std::int64_t seconds) const {
  if (!_daylight) return {.offset = _offset};
  if (seconds < kFirstSecond) return {.end = kFirstSecond, .offset = _offset};
  if (seconds >= kEndSecond) return {.begin = kEndSecond, .offset = _offset};

  struct Event {
    std::int64_t at = 0;
    std::int64_t offset = 0;
  };
  const std::chrono::sys_seconds instant{std::chrono::seconds{seconds}};
  const std::chrono::year_month_day today{std::chrono::floor<std::chrono::days>(instant)};
  const int year = static_cast<int>(today.year());
  std::array<Event, 2 * kYearsLookedAt> events;
  auto event = events.begin();
  for (int each = year - kYearsAround; each <= year + kYearsAround; ++each) {
    const std::int64_t begin = dayOf(_daylight->begin, each) * kSecondsPerDay + _daylight->begin.time;
    const std::int64_t end = dayOf(_daylight->end, each) * kSecondsPerDay + _daylight->end.time;
    *event++ = {begin - _offset, _daylight->offset};
    *event++ = {end - _daylight->offset, _offset};
  }
  // Where daylight saving time ends at the moment it begins, the order of years tells whether it lasts no time or
  // all the year.
  std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) { return a.at < b.at; });
  const auto next = std::upper_bound(events.begin(), events.end(), seconds,
                                     [](std::int64_t at, const Event& event) { return at < event.at; });
  const Event& before = *std::prev(next);
  return {std::max(before.at, kFirstSecond), std::min(next->at, kEndSecond), before.offset};
}

}  // namespace pellora
