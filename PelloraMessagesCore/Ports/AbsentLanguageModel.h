// The language model of a read that has found none: never available, so that nobody waits to be told again.
#pragma once

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class AbsentLanguageModel : public LanguageModel {
 public:
  Task<bool> isAvailable() override { co_return false; }

  Task<Answer> respond(std::string, std::string) override {
    throw LanguageModelError(LanguageModelError::Reason::server, "is absent");
    co_return Answer();
  }

  Task<Answer> respond(std::string, std::string, const GenerationSchema&) override {
    throw LanguageModelError(LanguageModelError::Reason::server, "is absent");
    co_return Answer();
  }
};

}  // namespace pellora
