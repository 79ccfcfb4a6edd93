// Calendar dates in words. Pure. Tested by Tests/Companion/DateTextTests.cpp.
#pragma once

#include <string>

#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora::date_text {

// "21 Nov".
std::string shortDate(const LocalCalendar::Date& date);

// "21 Nov", with the year when it is not this one.
std::string date(Instant instant, Instant now, const LocalCalendar& calendar);

// "Sat 21 Nov", with the year when it is not this one: for pages that are read later.
std::string weekdayDate(Instant instant, Instant now, const LocalCalendar& calendar);

// "today", "yesterday", else as `date`: the day of an event whose time of day is not known.
std::string dayInWords(Instant instant, Instant now, const LocalCalendar& calendar);

// "12 May" of a month from 1 to 12; empty for another.
std::string dayOfYear(int month, int day);

}  // namespace pellora::date_text
