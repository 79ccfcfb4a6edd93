// Asks the language model what it has not answered about a day yet, and keeps the rules of asking again: a question
// without an answer is asked again up to three times for the same content, a quarter of an hour, an hour and a day
// later; then the day counts as analysed. A failure that says nothing about the question uses up none of these tries.
// Tested by Tests/App/ModelOutageTests.cpp.
#pragma once

#include <array>
#include <chrono>
#include <string>

#include "PelloraMessagesCore/Ports/Task.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "Pellora_for_Messages/Engine/DayPlan.h"
#include "Pellora_for_Messages/Engine/ModelTurn.h"

namespace pellora {

namespace AskingAgain {

inline constexpr std::array<std::chrono::seconds, 3> kDelays = {std::chrono::minutes(15), std::chrono::hours(1),
                                                                std::chrono::hours(24)};

// Notes on a WaitingDay or LatelyAnswer that a question got no answer at `now`, and when it is asked again. False when
// it is not asked again for this content.
template <class Asked>
bool noteFailure(Asked& asked, LanguageModelError::Reason reason, Instant now) {
  if (reason != LanguageModelError::Reason::question) {
    asked.nextTryAt = now + kDelays.front();
    return true;
  }
  const auto used = static_cast<std::size_t>(++asked.triesUsed);
  if (used > kDelays.size()) return false;
  asked.nextTryAt = now + kDelays[used - 1];
  return true;
}

}  // namespace AskingAgain

namespace DayAnalysis {

// Fills the answers into `day.waiting`, which with the turn must outlive the call. True when the day is analysed:
// then `day.waiting.record` is its record. False when it waits, or when the turn was over before its first question.
Task<bool> analyse(ModelTurn& turn, OpenDay& day, std::string firstName, LocalCalendar calendar, Instant now);

}  // namespace DayAnalysis

}  // namespace pellora
