// Language models that an evaluation needs besides the one that it judges. Tested by
// Tests/Companion/EvaluationTests.cpp and ModelCommandTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Companion/Evaluation/EvaluationCase.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

// A language model that needs no server: it answers the questions about an invented day by what is known of it, at
// random, or with nothing. The findings that the guards keep of its answers are the best and the least that any model
// can reach.
class KnowingModel : public LanguageModel {
 public:
  enum class Manner { truth, random, empty };

  explicit KnowingModel(Manner manner) : _manner(manner) {}

  // Later questions are about this day, which must outlive them.
  void look(const EvaluationCase& known) { _case = &known; }

  Task<bool> isAvailable() override { co_return true; }
  Task<Answer> respond(std::string, std::string) override { co_return Answer{sentence()}; }
  Task<Answer> respond(std::string, std::string, const GenerationSchema& schema) override;
  std::int64_t questionsSent() const override { return 0; }

 private:
  std::string sentence();
  void addTrueNews(JsonValue& items) const;
  void addTrueMeetups(JsonValue& items) const;
  JsonValue randomItem(bool isNews);
  std::string randomWords();
  std::size_t next(std::size_t below);

  Manner _manner;
  const EvaluationCase* _case = nullptr;
  std::uint64_t _seed = 1;
};

// A language model that passes every question on to another and remembers what came of the last one, which the tasks
// that ask do not tell. Main thread.
class ModelWitness : public LanguageModel {
 public:
  struct Testimony {
    std::string answer;                       // as the model gave it
    std::optional<LanguageModelError> error;  // why there is none
    double seconds = 0;
    std::int64_t tokens = 0;  // of question and answer, as far as the server reports them
  };

  // `model` outlives this object.
  explicit ModelWitness(LanguageModel& model) : _model(model) {}

  // Always: whether it is there shows when it is asked.
  Task<bool> isAvailable() override { co_return true; }

  Task<Answer> respond(std::string instructions, std::string prompt) override;
  Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) override;
  std::int64_t questionsSent() const override { return _model.questionsSent(); }

  // What came of the question since the last call; absent when none was asked.
  std::optional<Testimony> take();

 private:
  Task<Answer> watched(Task<Answer> question);

  LanguageModel& _model;
  std::optional<Testimony> _last;
};

}  // namespace pellora
