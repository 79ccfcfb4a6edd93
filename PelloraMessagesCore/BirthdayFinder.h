// Whether the user wished somebody a birthday in one day of texting, whose it was and, when the texts tell, the
// age. Deterministic. Tested by Tests/Core/BirthdayFinderTests.cpp.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace BirthdayFinder {

// Lines oldest first; `firstName` may be empty; the time is the day's first message's.
std::optional<MessagesBirthday> find(const std::vector<MessageLine>& lines, std::string_view firstName,
                                     Instant firstMessageAt, const LocalCalendar& calendar);

// Whether the text, whatever its case, holds a birthday greeting (plain substrings, also inside a longer word).
bool holdsGreeting(std::string_view text);

}  // namespace BirthdayFinder

}  // namespace pellora
