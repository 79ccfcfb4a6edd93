// Judges a language model by invented days of which the truth is known. Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "Companion/Evaluation/EvaluationCase.h"
#include "Companion/Evaluation/EvaluationFigures.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

// The person who does something according to a sentence about a day. A sentence that tells a person's news as the
// user's, or as that of both, is worse than none, and no guard can notice it. Read off by simple rules of English word
// order: the last one named before the words that tell it, as a subject or an owner. Pure.
enum class Doer {
  nobody,  // the sentence does not tell it, or not of whom
  user,
  person,
  both
};

// `sentence` begins with "You and NAME"; `deed` is what happened, as a sentence of its own.
Doer doerOf(std::string_view sentence, std::string_view deed, std::string_view name);

// Asks the helper's own questions by the helper's own tasks, and counts what these kept rightly and wrongly, and why
// the rest was not kept.
namespace Evaluation {

// Called before the questions about each case.
using Before = std::function<void(const EvaluationCase&)>;

// Asks about each case `repeats` times. Never throws; ends with `failure` at an error that says nothing about the
// question.
Task<EvaluationFigures> run(LanguageModel& model, std::vector<EvaluationCase> cases, int repeats,
                            Before before = nullptr);

// Without a model: what the guards keep of answers that tell the truth and nothing else.
EvaluationFigures ceiling(const std::vector<EvaluationCase>& cases);

// The same for answers that take words of the day at random, from a fixed seed, and for empty ones.
EvaluationFigures randomFloor(const std::vector<EvaluationCase>& cases);
EvaluationFigures emptyFloor(const std::vector<EvaluationCase>& cases);

}  // namespace Evaluation

}  // namespace pellora
