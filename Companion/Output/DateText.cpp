#include "Companion/Output/DateText.h"

#include <string_view>

namespace pellora::date_text {

namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

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

}  // namespace pellora::date_text
