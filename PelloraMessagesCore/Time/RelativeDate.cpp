#include "PelloraMessagesCore/Time/RelativeDate.h"

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/reldatefmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>

namespace pellora::RelativeDate {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3'600;
constexpr int kDaysOfWeek = 7;
constexpr int kMonthsOfYear = 12;

// How far away, without direction.
struct Distance {
  std::int64_t count = 0;
  URelativeDateTimeUnit unit = UDAT_REL_UNIT_SECOND;
};

// To the nearest second, halves away from zero.
std::int64_t roundedSeconds(Nanoseconds difference) {
  const std::int64_t magnitude = wholeSeconds(Instant(std::chrono::abs(difference) + std::chrono::milliseconds(500)));
  return difference < Nanoseconds::zero() ? -magnitude : magnitude;
}

Distance clockDistance(std::int64_t seconds) {
  if (seconds < kMinute) return {seconds, UDAT_REL_UNIT_SECOND};
  if (seconds < kHour) return {(seconds + kMinute / 2) / kMinute, UDAT_REL_UNIT_MINUTE};
  return {(seconds / kMinute + kMinute / 2) / kMinute, UDAT_REL_UNIT_HOUR};
}

int monthIndex(const LocalCalendar::Date& date) {
  return date.year * kMonthsOfYear + date.month - 1;
}

// Days since 1970 of a date.
int dayIndex(const LocalCalendar::Date& date) {
  const std::chrono::sys_days days{std::chrono::year{date.year} /
                                   std::chrono::month{static_cast<unsigned>(date.month)} /
                                   std::chrono::day{static_cast<unsigned>(date.day)}};
  return static_cast<int>(days.time_since_epoch().count());
}

// 1 Sunday to 7 Saturday.
int firstWeekday(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
  return U_SUCCESS(status) ? calendar->getFirstDayOfWeek(status) : UCAL_SUNDAY;
}

// The unit is the largest that lies whole between the two; its count is how many boundaries of that unit lie
// between: 36 hours ago may be yesterday or two days ago.
Distance calendarDistance(Instant earlier, Instant later, const LocalCalendar& calendar, const icu::Locale& locale) {
  const LocalCalendar::Date first = calendar.date(earlier);
  const LocalCalendar::Date last = calendar.date(later);
  const int months = calendar.monthsBetween(earlier, later);
  if (months >= kMonthsOfYear) return {last.year - first.year, UDAT_REL_UNIT_YEAR};
  if (months >= 1) return {monthIndex(last) - monthIndex(first), UDAT_REL_UNIT_MONTH};
  const int days = dayIndex(last) - dayIndex(first);
  if (calendar.daysBetween(earlier, later) < kDaysOfWeek) return {days, UDAT_REL_UNIT_DAY};
  const int start = firstWeekday(locale);
  const auto daysIntoWeek = [&](Instant instant) {
    return (calendar.weekday(instant) - start + kDaysOfWeek) % kDaysOfWeek;
  };
  return {(days + daysIntoWeek(earlier) - daysIntoWeek(later)) / kDaysOfWeek, UDAT_REL_UNIT_WEEK};
}

}  // namespace

std::string text(Instant date, Instant now, const LocalCalendar& calendar, std::string_view locale) {
  now = insideCalendar(now);
  const std::int64_t seconds = roundedSeconds(insideCalendar(date) - now);
  const Instant rounded = now + std::chrono::seconds(seconds);
  const Instant earlier = std::min(rounded, now);
  const Instant later = std::max(rounded, now);
  const icu::Locale language = locale.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(locale).c_str());
  const Distance distance = calendar.daysBetween(earlier, later) >= 1
                                ? calendarDistance(earlier, later, calendar, language)
                                : clockDistance(seconds < 0 ? -seconds : seconds);
  UErrorCode status = U_ZERO_ERROR;
  const icu::RelativeDateTimeFormatter formatter(language, status);
  icu::UnicodeString formatted;
  const auto count = static_cast<double>(distance.count);
  formatter.format(seconds < 0 ? -count : count, distance.unit, formatted, status);
  std::string result;
  return formatted.toUTF8String(result);
}

}  // namespace pellora::RelativeDate
