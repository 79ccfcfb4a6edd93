// Judges a language model by invented days of which the truth is known: asks the helper's own questions by the helper's
// own tasks, and counts what these kept rightly and wrongly, and why the rest was not kept.
// Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include <functional>
#include <vector>

#include "Companion/Evaluation/EvaluationCase.h"
#include "Companion/Evaluation/EvaluationFigures.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

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
