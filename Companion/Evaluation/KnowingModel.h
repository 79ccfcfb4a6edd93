// A language model that needs no server: it answers the questions about an invented day by what is known of it, at
// random, or with nothing. What the guards keep of its answers is the best and the least that any model can reach.
// Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include "Companion/Evaluation/EvaluationCase.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class KnowingModel : public LanguageModel {
 public:
  enum class Manner { truth, random, empty };

  explicit KnowingModel(Manner manner) : _manner(manner) {}

  // Later questions are about this day, which must outlive them.
  void look(const EvaluationCase& known) { _case = &known; }

  Task<bool> isAvailable() override { co_return true; }
  Task<Answer> respond(std::string, std::string) override { co_return Answer{sentence()}; }
  Task<Answer> respond(std::string, std::string, const GenerationSchema& schema) override;

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

}  // namespace pellora
