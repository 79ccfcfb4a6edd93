#include "PelloraMessagesCore/Time/LocalCalendar.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <tuple>
#include <utility>

#include "PelloraMessagesCore/Time/SystemZone.h"
#include "PelloraMessagesCore/Time/ZoneStretch.h"

namespace pellora {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
// How far from UTC a zone may be.
constexpr std::int64_t kWidestOffset = std::max(kEasternmostOffset, -kWesternmostOffset);  // seconds
// 0001-01-01T00:00:00Z and 9999-12-31T23:59:59Z: instants outside are taken as the nearer of the two.
constexpr std::int64_t kFirstSecond = -62'135'596'800;
constexpr std::int64_t kLastSecond = 253'402'300'799;
constexpr std::size_t kCachedDays = 64;  // a power of two

constexpr std::int64_t floorDiv(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

// Whole seconds (clamped) and the nanoseconds that follow them.
std::pair<std::int64_t, Nanoseconds> split(Instant instant) {
  const Instant clamped = std::clamp(instant, instantAtSeconds(kFirstSecond), instantAtSeconds(kLastSecond));
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
  explicit State(ZoneFinder zone) : _zone(std::move(zone)) {}

  const ZoneStretch& stretch(std::int64_t seconds) {
    if (!_stretch.contains(seconds)) _stretch = _zone(seconds);
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
      const ZoneStretch each = stretch(from);
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
    const ZoneStretch& around = stretch(seconds);
    const std::int64_t days = floorDiv(seconds + around.offset, kSecondsPerDay);
    const std::int64_t midnight = days * kSecondsPerDay - around.offset;
    return {std::max(around.begin, midnight), std::min(around.end, midnight + kSecondsPerDay), days,
            text(civilDate(days))};
  }

  ZoneFinder _zone;
  ZoneStretch _stretch{0, 0, 0};  // the one asked for last
  std::array<std::array<DayPart, 2>, kCachedDays> _days;
};

LocalCalendar LocalCalendar::current() {
  return LocalCalendar(std::make_shared<State>(SystemZone::current(SystemZone::places())));
}

LocalCalendar LocalCalendar::inTimeZone(std::string_view identifier) {
  return LocalCalendar(std::make_shared<State>(SystemZone::named(identifier, SystemZone::places())));
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
