// The lately summaries of this process: asks the model for a person's summary, and keeps the answer in memory so
// that the same question, letter for letter, is not asked again. Owned by the engine; main thread.
// Tested by Tests/Core/LatelySummariesTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/MessagesModel.h"

namespace pellora {

class LatelySummaries {
 public:
  // The guarded summary over one person's days, or nothing. A question that got no answer is asked again next
  // time; an answer that the guard rejected is not.
  Task<std::optional<std::string>> summary(LanguageModel& model, Uuid person, std::vector<MessagesDayRecord> days,
                                           std::string firstName);

 private:
  struct Answered {
    MessagesModel::Question question;
    std::optional<std::string> summary;
  };
  std::unordered_map<Uuid, Answered> _answered;
};

}  // namespace pellora
