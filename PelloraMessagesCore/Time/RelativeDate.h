// An instant told as people say it: "5 minutes ago", "yesterday", "last week" (named presentation, wide units),
// in the language of the locale given. The unit is chosen here: differences are rounded to whole seconds; under a
// day the largest unit, rounded up when the next smaller one reaches half of it; from a day on, calendar units.
// Tested by Tests/Core/RelativeDateTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace RelativeDate {

// `locale` as in "en_US"; empty means the user's.
std::string text(Instant date, Instant now, const LocalCalendar& calendar, std::string_view locale = "en");

}  // namespace RelativeDate

}  // namespace pellora
