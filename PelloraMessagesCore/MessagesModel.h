// The four questions asked of the language model: a day's sentence, its meetups, its big news, and the summary of
// the last weeks. Each builds its instructions and prompt, asks once in a session of its own and passes the answer
// through its guard. Errors and refusals give the empty result. No state but the diagnostic sink.
// Tested by Tests/Core/MessagesModelTests.cpp.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/MessagesDayDraft.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace MessagesModel {

// What is sent to the model: fixed instructions and the material.
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

// The model's raw answer to a plain question, absent when it is not available or gives none. Never throws.
Task<std::optional<std::string>> answer(LanguageModel& model, Question question);

// The lately question over these days, absent when it is not to be asked (fewer than two sentences, no name, or
// every sentence left out).
std::optional<Question> latelyQuestion(const std::vector<MessagesDayRecord>& days, const std::string& firstName);

// Receives raw day-sentence answers, for someone who tries out models; none unless installed, an empty one removes
// it. Process-wide; main thread only.
using DiagnosticSink = std::function<void(const std::string&)>;
void installDiagnosticSink(DiagnosticSink sink);

}  // namespace MessagesModel

}  // namespace pellora
