// A language model that answers as a test tells it, and remembers what it was asked.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class ScriptedLanguageModel : public LanguageModel {
 public:
  struct Asked {
    std::string instructions;
    std::string prompt;
    std::string schemaName;  // empty for a plain question
  };
  // Gives the text of the answer; may throw LanguageModelError.
  using Script = std::function<std::string(const Asked&)>;

  explicit ScriptedLanguageModel(Script script) : _script(std::move(script)) {}

  Task<bool> isAvailable() override { co_return _available; }
  Task<Answer> respond(std::string instructions, std::string prompt) override {
    co_return answerTo({std::move(instructions), std::move(prompt), {}});
  }
  Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) override {
    Answer answer = answerTo({std::move(instructions), std::move(prompt), schema.name});
    if (!GeneratedContent::decode(schema, answer.text))
      throw LanguageModelError(LanguageModelError::Reason::question,
                               "gave an answer that is not in the form asked for");
    co_return answer;
  }
  std::int64_t questionsSent() const override { return static_cast<std::int64_t>(_asked.size()); }

  void setAvailable(bool available) { _available = available; }

  // The cost that each answer reports.
  void setTokens(std::int64_t prompt, std::int64_t answer) {
    _promptTokens = prompt;
    _answerTokens = answer;
  }

  const std::vector<Asked>& asked() const { return _asked; }

 private:
  Answer answerTo(Asked asked) {
    _asked.push_back(asked);
    return {_script(asked), _promptTokens, _answerTokens};
  }

  bool _available = true;
  std::int64_t _promptTokens = 0;
  std::int64_t _answerTokens = 0;
  Script _script;
  std::vector<Asked> _asked;
};

}  // namespace pellora
