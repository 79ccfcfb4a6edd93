#include "Adapters/InMemory/ScriptedLanguageModel.h"

namespace pellora {

LanguageModel::Answer ScriptedLanguageModel::answerTo(Asked asked) {
  _asked.push_back(asked);
  return {_script(asked), _promptTokens, _answerTokens};
}

Task<LanguageModel::Answer> ScriptedLanguageModel::respond(std::string instructions, std::string prompt) {
  co_return answerTo({std::move(instructions), std::move(prompt), {}});
}

Task<LanguageModel::Answer> ScriptedLanguageModel::respond(std::string instructions, std::string prompt,
                                                           const GenerationSchema& schema) {
  co_return answerTo({std::move(instructions), std::move(prompt), schema.name});
}

}  // namespace pellora
