// A language model that passes every question on to another and remembers what came of the last one, which the tasks
// that ask do not tell. Main thread.
// Tested by Tests/Companion/EvaluationTests.cpp and ModelCommandTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class ModelWitness : public LanguageModel {
 public:
  struct Testimony {
    std::string answer;                       // as the model gave it
    std::optional<LanguageModelError> error;  // why there is none
    double seconds = 0;
    std::int64_t tokens = 0;  // of question and answer, as far as the server tells
  };

  // `model` outlives this object.
  explicit ModelWitness(LanguageModel& model) : _model(model) {}

  // Always: whether it is there shows when it is asked.
  Task<bool> isAvailable() override { co_return true; }

  Task<Answer> respond(std::string instructions, std::string prompt) override;
  Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) override;

  // What came of the question since the last call; absent when none was asked.
  std::optional<Testimony> take();

 private:
  Task<Answer> watched(Task<Answer> question);

  LanguageModel& _model;
  std::optional<Testimony> _last;
};

}  // namespace pellora
