// The language model on this device. Every question is a session of its own: instructions, one prompt, one
// answer, nothing remembered. All calls are made and resumed on the main thread, which never waits in between.
// Answers are raw: guards decide what is kept of them.
#pragma once

#include <stdexcept>
#include <string>

#include "PelloraMessagesCore/Language/GenerationSchema.h"
#include "PelloraMessagesCore/Ports/Task.h"

namespace pellora {

// Any reason why a question got no answer. The text names the reason and never quotes prompt or answer.
class LanguageModelError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class LanguageModel {
 public:
  virtual ~LanguageModel() = default;

  // Whether a question would be taken now. Reasons are not told apart.
  virtual Task<bool> isAvailable() = 0;

  // A plain-text answer. Throws LanguageModelError.
  virtual Task<std::string> respond(std::string instructions, std::string prompt) = 0;

  // The text of a JSON object that was asked to follow `schema`, which must outlive the call; whoever decodes it
  // checks that it does. Throws LanguageModelError.
  virtual Task<std::string> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) = 0;
};

}  // namespace pellora
