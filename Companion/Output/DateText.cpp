#include "Companion/Output/DateText.h"

#include <string_view>

namespace pellora::date_text {

namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr std::string_view kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

}  // namespace

std::string dayOfYear(int month, int day) {
  if (month < 1 || month > 12) return {};
  return std::to_string(day) + " " + std::string(kMonths[month - 1]);
}

std::string shortDate(const LocalCalendar::Date& date) {
  return dayOfYear(date.month, date.day);
}

std::string date(Instant instant, Instant now, const LocalCalendar& calendar) {
  const LocalCalendar::Date date = calendar.date(instant);
  const bool isThisYear = date.year == calendar.date(now).year;
  return isThisYear ? shortDate(date) : shortDate(date) + " " + std::to_string(date.year);
}

std::string weekdayDate(Instant instant, Instant now, const LocalCalendar& calendar) {
  return std::string(kWeekdays[calendar.weekday(instant) - 1]) + " " + date(instant, now, calendar);
}

std::string dayInWords(Instant instant, Instant now, const LocalCalendar& calendar) {
  const LocalCalendar::Date day = calendar.date(instant);
  if (day == calendar.date(now)) return "today";
  if (day == calendar.date(calendar.addingDays(now, -1))) return "yesterday";
  return date(instant, now, calendar);
}

}  // namespace pellora::date_text
