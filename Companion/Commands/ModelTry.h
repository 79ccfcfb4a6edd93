// Harmless questions about an invented day, asked to see whether a model answers, how, how fast, and what the guards
// make of it: a day's sentence and its news.
#pragma once

#include <string>

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

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
