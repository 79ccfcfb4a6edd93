// Which calendar day the words about a meetup mean. Pure. Tested by Tests/Core/MeetupDayTests.cpp.
#pragma once

#include <string_view>

#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace MeetupDay {

struct Resolved {
  Instant day;  // start of the day
  bool isDayFromWords = false;
};

Resolved resolve(std::string_view when, Instant referenceDate, const LocalCalendar& calendar);

}  // namespace MeetupDay

}  // namespace pellora
