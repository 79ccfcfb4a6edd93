#include "Adapters/InMemory/ScriptedLanguageModel.h"

#include "PelloraMessagesCore/Language/GeneratedContent.h"

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
  Answer answer = answerTo({std::move(instructions), std::move(prompt), schema.name});
  if (!GeneratedContent::decode(schema, answer.text))
    throw LanguageModelError(LanguageModelError::Reason::question, "gave an answer of another form than asked for");
  co_return answer;
}

}  // namespace pellora
