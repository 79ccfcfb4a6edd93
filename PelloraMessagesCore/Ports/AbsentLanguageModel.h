// The language model of a read that has found none: never available, so that nobody waits to be told again.
#pragma once

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class AbsentLanguageModel : public LanguageModel {
 public:
  Task<bool> isAvailable() override { co_return false; }

  Task<std::string> respond(std::string, std::string) override {
    throw LanguageModelError("There is no language model");
    co_return {};
  }

  Task<std::string> respond(std::string, std::string, const GenerationSchema&) override {
    throw LanguageModelError("There is no language model");
    co_return {};
  }
};

}  // namespace pellora
