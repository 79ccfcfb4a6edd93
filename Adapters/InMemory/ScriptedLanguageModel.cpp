#include "Adapters/InMemory/ScriptedLanguageModel.h"

namespace pellora {

Task<std::string> ScriptedLanguageModel::respond(std::string instructions, std::string prompt) {
  _asked.push_back({std::move(instructions), std::move(prompt), {}});
  co_return _script(Asked(_asked.back()));
}

Task<std::string> ScriptedLanguageModel::respond(std::string instructions, std::string prompt,
                                                 const GenerationSchema& schema) {
  _asked.push_back({std::move(instructions), std::move(prompt), schema.name});
  co_return _script(Asked(_asked.back()));
}

}  // namespace pellora
