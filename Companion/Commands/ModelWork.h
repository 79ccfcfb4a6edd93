// The cost of the helper's language work and the work that waits, in words: for `model` and `status`. Pure except for
// the reading of the state file. Tested by Tests/Companion/ModelCommandTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora::model_work {

// Absent without a key or a state that opens.
std::optional<ModelAccount> load(const CompanionContext& context);

// "12 questions, 3400 tokens, 95 seconds"; empty when nothing was asked.
std::string cost(const ModelUse& use);

// "about 2 hours for 600 days with this model; newest days first"; empty when nothing waits or nothing is known.
std::string estimate(const ModelAccount& account);

// "The model server answered 500 (...). 84 days wait; next try in 15 minutes."; empty when there is nothing to say.
std::string waiting(const ModelAccount& account, Instant now);

JsonValue json(const ModelAccount& account);

}  // namespace pellora::model_work

namespace pellora {

// Harmless questions about an invented day, asked to see whether a model answers, how, how fast, and what the guards
// make of it: a day's sentence and its news.
struct ModelTry {
  std::string kind;     // "plain" or "guided"
  std::string answer;   // as the model gave it
  std::string error;    // why there is no usable answer, a clause about the server; empty when there is one
  std::string verdict;  // what the guards made of it, one clause: "kept: Robin got the job."
  double seconds = 0;

  bool isAnswered() const { return error.empty(); }

  // Neither throws. `model` must outlive the task.
  static Task<ModelTry> plain(LanguageModel& model);
  static Task<ModelTry> guided(LanguageModel& model);
};

}  // namespace pellora
