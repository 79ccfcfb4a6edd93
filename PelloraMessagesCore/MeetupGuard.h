// Of the meetups that a language model proposes, keeps only those that the conversation itself bears out. Pure.
// Tested by Tests/Core/MeetupGuardTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace MeetupGuard {

struct Candidate {
  std::int64_t message = 0;  // line number of the prompt, from 1
  std::string what;
  std::string when;
};

// The phrase in the text that says the two were together, if any.
std::optional<std::string> cueIn(std::string_view text);

// Whether the text is about a call.
bool mentionsCall(std::string_view text);

// The model's words, trimmed, when they occur in the message; else empty.
std::string copiedWords(std::string_view modelText, std::string_view message);

// `lines` are those of the prompt, in its order.
std::vector<MessagesMeetup> accept(const std::vector<Candidate>& candidates, const std::vector<MessageLine>& lines,
                                   Instant referenceDate, const LocalCalendar& calendar);

}  // namespace MeetupGuard

// Which calendar day the words about a meetup mean. Pure. Tested by Tests/Core/MeetupDayTests.cpp.
namespace MeetupDay {

struct Resolved {
  Instant day;  // start of the day
  bool isDayFromWords = false;
};

Resolved resolve(std::string_view when, Instant referenceDate, const LocalCalendar& calendar);

}  // namespace MeetupDay

}  // namespace pellora
