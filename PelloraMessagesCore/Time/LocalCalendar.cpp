#include "PelloraMessagesCore/Time/LocalCalendar.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace pellora {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
// How far from UTC the C library lets a zone be, and more than any zone ever was.
constexpr std::int64_t kWidestOffset = 93'600;  // seconds
constexpr std::int64_t kFirstSecond = wholeSeconds(kEarliestInstant);
constexpr std::int64_t kLastSecond = wholeSeconds(kLatestInstant);
constexpr std::string_view kUtc = "UTC";
constexpr std::int64_t kBlock = 64 * kSecondsPerDay;
constexpr std::size_t kCachedDays = 64;  // a power of two

constexpr std::int64_t floorDiv(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

// Whole seconds (clamped) and the nanoseconds that follow them.
std::pair<std::int64_t, Nanoseconds> split(Instant instant) {
  const Instant clamped = std::clamp(instant, kEarliestInstant, instantAtSeconds(kLastSecond));
  const std::int64_t seconds = wholeSeconds(clamped);
  return {seconds, clamped - instantAtSeconds(seconds)};
}

std::int64_t clampedSeconds(Instant instant) {
  constexpr Int128 kBillion = 1'000'000'000;
  const Int128 count = instant.time_since_epoch().count();
  constexpr Int128 kFirst = kFirstSecond * kBillion;
  constexpr Int128 kLast = kLastSecond * kBillion;
  if (count < kFirst) return kFirstSecond;
  if (count > kLast) return kLastSecond;
  // Nearly every date fits 64 bits, where division is fast.
  constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  if (count >= kSmallest && count <= kLargest) return floorDiv(static_cast<std::int64_t>(count), 1'000'000'000);
  return wholeSeconds(instant);
}

LocalCalendar::Date civilDate(std::int64_t days) {
  const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{days}}};
  return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day()))};
}

std::string text(const LocalCalendar::Date& date) {
  std::array<char, 40> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d", date.year, date.month, date.day);
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

// A stretch of time, [begin, end), in which a zone keeps one offset from UTC, positive east of Greenwich.
// Neighboring stretches may have the same offset.
struct Stretch {
  std::int64_t begin = 0;
  std::int64_t end = 0;
  std::int64_t offset = 0;

  bool contains(std::int64_t seconds) const { return seconds >= begin && seconds < end; }
};

// In the zone that the C library is set to.
std::int64_t systemOffset(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm local{};
  return ::localtime_r(&time, &local) != nullptr ? local.tm_gmtoff : 0;
}

// The C library knows one zone at a time: sets TZ while this lives.
class ZoneVariable {
 public:
  explicit ZoneVariable(const std::string& zone) : _lock(mutex()) {
    if (const char* before = std::getenv("TZ")) _before = before;
    ::setenv("TZ", zone.c_str(), 1);
    ::tzset();
  }
  ~ZoneVariable() {
    if (_before)
      ::setenv("TZ", _before->c_str(), 1);
    else
      ::unsetenv("TZ");
    ::tzset();
  }
  ZoneVariable(const ZoneVariable&) = delete;
  ZoneVariable& operator=(const ZoneVariable&) = delete;

 private:
  static std::mutex& mutex() {
    static std::mutex instance;
    return instance;
  }

  std::lock_guard<std::mutex> _lock;
  std::optional<std::string> _before;
};

// Looks once per day, and narrows down where the offset is another than before.
std::vector<Stretch> stretchesBetween(std::int64_t begin, std::int64_t end) {
  std::vector<Stretch> stretches = {{begin, end, systemOffset(begin)}};
  for (std::int64_t known = begin; known < end;) {
    const std::int64_t offset = stretches.back().offset;
    std::int64_t change = std::min(known + kSecondsPerDay, end);
    if (systemOffset(change) != offset) {
      while (change - known > 1) {
        const std::int64_t middle = known + (change - known) / 2;
        (systemOffset(middle) == offset ? known : change) = middle;
      }
      if (change == end) break;
      stretches.back().end = change;
      stretches.push_back({change, end, systemOffset(change)});
    }
    known = change;
  }
  return stretches;
}

// The part of a local day that lies in one stretch: the whole day, but for days on which clocks change.
struct DayPart {
  std::int64_t begin = 1;
  std::int64_t end = 0;
  std::int64_t days = 0;  // local date as days since 1970-01-01
  std::string text;

  bool contains(std::int64_t seconds) const { return seconds >= begin && seconds < end; }
};

}  // namespace

struct LocalCalendar::State {
  // The machine's zone when there is no name.
  explicit State(std::optional<std::string> zone) : _zone(std::move(zone)) {}

  const Stretch& stretch(std::int64_t seconds) {
    if (_stretch.contains(seconds)) return _stretch;
    if (_zone == kUtc) return _stretch = {kFirstSecond - kBlock, kLastSecond + kBlock, 0};
    const std::int64_t number = floorDiv(seconds, kBlock);
    auto [block, isNew] = _blocks.try_emplace(number);
    if (isNew) {
      const std::optional<ZoneVariable> variable =
          _zone ? std::optional<ZoneVariable>(std::in_place, *_zone) : std::nullopt;
      block->second = stretchesBetween(number * kBlock, (number + 1) * kBlock);
    }
    _stretch = *std::find_if(block->second.begin(), block->second.end(),
                             [&](const Stretch& each) { return each.contains(seconds); });
    return _stretch;
  }

  std::int64_t offset(std::int64_t seconds) { return stretch(seconds).offset; }
  std::int64_t localSeconds(std::int64_t seconds) { return seconds + offset(seconds); }

  // Two places for every UTC day, because it overlaps two local ones.
  const DayPart& dayPart(std::int64_t seconds) {
    auto& places = _days[static_cast<std::size_t>(floorDiv(seconds, kSecondsPerDay)) % kCachedDays];
    if (places[0].contains(seconds)) return places[0];
    if (!places[1].contains(seconds)) places[1] = findDayPart(seconds);
    std::swap(places[0], places[1]);
    return places[0];
  }

  // The first second whose local date is `days`, for a date that exists in this zone.
  std::int64_t firstSecond(std::int64_t days) {
    const std::int64_t midnight = days * kSecondsPerDay;
    std::int64_t from = midnight - kWidestOffset;
    while (from < midnight + kSecondsPerDay + kWidestOffset) {
      const Stretch each = stretch(from);
      const std::int64_t begin = std::max(from, midnight - each.offset);
      if (begin < std::min(each.end, midnight + kSecondsPerDay - each.offset)) return begin;
      from = each.end;
    }
    return midnight;
  }

  // The second at which clocks show `local`. Of two such seconds the one with the preferred offset, else either;
  // where clocks skip that time, as much later as they skip.
  std::int64_t secondShowing(std::int64_t local, std::int64_t preferredOffset) {
    const std::array<std::int64_t, 3> offsets = {preferredOffset, offset(local - kWidestOffset),
                                                 offset(local + kWidestOffset)};
    for (const std::int64_t each : offsets)
      if (offset(local - each) == each) return local - each;
    return local - std::min(offsets[1], offsets[2]);
  }

 private:
  DayPart findDayPart(std::int64_t seconds) {
    const Stretch& around = stretch(seconds);
    const std::int64_t days = floorDiv(seconds + around.offset, kSecondsPerDay);
    const std::int64_t midnight = days * kSecondsPerDay - around.offset;
    return {std::max(around.begin, midnight), std::min(around.end, midnight + kSecondsPerDay), days,
            text(civilDate(days))};
  }

  std::optional<std::string> _zone;
  std::map<std::int64_t, std::vector<Stretch>> _blocks;
  Stretch _stretch;  // the one asked for last
  std::array<std::array<DayPart, 2>, kCachedDays> _days;
};

LocalCalendar LocalCalendar::current() {
  ::tzset();
  const auto state = std::make_shared<State>(std::nullopt);
  const std::int64_t now = ::time(nullptr);
  for (const std::int64_t each : {now - kBlock, now, now + kBlock}) state->stretch(each);
  return LocalCalendar(state);
}

LocalCalendar LocalCalendar::inTimeZone(std::string_view identifier) {
  return LocalCalendar(std::make_shared<State>(std::string(identifier)));
}

LocalCalendar::Date LocalCalendar::date(Instant instant) const {
  return civilDate(_state->dayPart(clampedSeconds(instant)).days);
}

std::string LocalCalendar::dayString(Instant instant) const {
  return _state->dayPart(clampedSeconds(instant)).text;
}

Instant LocalCalendar::startOfDay(Instant instant) const {
  return instantAtSeconds(_state->firstSecond(_state->dayPart(clampedSeconds(instant)).days));
}

Instant LocalCalendar::addingDays(Instant instant, int days) const {
  const auto [seconds, fraction] = split(instant);
  const std::int64_t offset = _state->offset(seconds);
  const std::int64_t local = seconds + offset + days * kSecondsPerDay;
  const std::int64_t clamped = std::clamp(local, kFirstSecond, kLastSecond);
  return instantAtSeconds(_state->secondShowing(clamped, offset)) + fraction;
}

int LocalCalendar::weekday(Instant instant) const {
  // 1970-01-01 was a Thursday.
  const std::int64_t days = _state->dayPart(clampedSeconds(instant)).days + 4;
  return static_cast<int>(days - floorDiv(days, 7) * 7) + 1;
}

int LocalCalendar::monthsBetween(Instant earlier, Instant later) const {
  if (later <= earlier) return 0;
  const auto [firstSeconds, firstFraction] = split(earlier);
  const auto [lastSeconds, lastFraction] = split(later);
  const std::int64_t firstLocal = _state->localSeconds(firstSeconds);
  const std::int64_t lastLocal = _state->localSeconds(lastSeconds);
  const Date first = civilDate(floorDiv(firstLocal, kSecondsPerDay));
  const Date last = civilDate(floorDiv(lastLocal, kSecondsPerDay));
  const int months = (last.year - first.year) * 12 + last.month - first.month;
  // A month after the 31st is the last day of a shorter month.
  const std::chrono::year_month_day_last end{
      std::chrono::year{last.year}, std::chrono::month_day_last{std::chrono::month{static_cast<unsigned>(last.month)}}};
  const int dueDay = std::min(first.day, static_cast<int>(static_cast<unsigned>(end.day())));
  const auto timeOfDay = [](std::int64_t local) { return local - floorDiv(local, kSecondsPerDay) * kSecondsPerDay; };
  const bool isReached = std::tuple(last.day, timeOfDay(lastLocal), lastFraction) >=
                         std::tuple(dueDay, timeOfDay(firstLocal), firstFraction);
  return std::max(0, isReached ? months : months - 1);
}

int LocalCalendar::daysBetween(Instant earlier, Instant later) const {
  if (later <= earlier) return 0;
  const std::int64_t first = floorDiv(_state->localSeconds(clampedSeconds(earlier)), kSecondsPerDay);
  const std::int64_t last = floorDiv(_state->localSeconds(clampedSeconds(later)), kSecondsPerDay);
  const int days = static_cast<int>(last - first);
  return std::max(0, addingDays(earlier, days) <= later ? days : days - 1);
}

}  // namespace pellora
