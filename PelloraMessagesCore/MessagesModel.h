// The four questions asked of the language model: a day's sentence, its meetups, its big news, and the summary of
// the last weeks. Each builds its instructions and prompt, asks once in a session of its own and passes the answer
// through its guard. Errors and refusals give the empty result; who must know of them looks at the model. No state.
// Tested by Tests/Core/MessagesModelTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/MeetupGuard.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace MessagesModel {

// The texts sent to the model: fixed instructions and the material.
struct Question {
  std::string instructions;
  std::string prompt;

  bool operator==(const Question&) const = default;
};

Task<std::optional<std::string>> daySentence(LanguageModel& model, MessagesDayDraft draft, std::string firstName);

Task<std::vector<MessagesMeetup>> findMeetups(LanguageModel& model, MessagesDayDraft draft, std::string firstName,
                                              LocalCalendar calendar);

Task<std::vector<MessagesNews>> findNews(LanguageModel& model, MessagesDayDraft draft, std::string firstName);

// `days` are one person's records, in any order.
Task<std::optional<std::string>> latelySummary(LanguageModel& model, std::vector<MessagesDayRecord> days,
                                               std::string firstName);

// The lately question over these days, absent when it is not to be asked (fewer than two sentences, no name, or
// every sentence left out).
std::optional<Question> latelyQuestion(const std::vector<MessagesDayRecord>& days, const std::string& firstName);

// What the model proposes in an answer, as the guards get it: nothing in one that cannot be read.
std::vector<MeetupGuard::Candidate> proposedMeetups(std::string_view answer);
std::vector<NewsGuard::Candidate> proposedNews(std::string_view answer, std::string_view firstName);

}  // namespace MessagesModel

}  // namespace pellora
