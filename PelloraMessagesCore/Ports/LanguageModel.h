// The language model on this device. Every question is a session of its own: instructions, one prompt, one
// answer, nothing remembered. All calls are made and resumed on the main thread, which never waits in between.
// Answers are raw: guards decide what is kept of them.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "PelloraMessagesCore/Ports/Task.h"

namespace pellora {

// Why a question got no answer. The text is a short clause about the model server ("answered 500 (model requires
// more system memory)", "gave no answer within 300 seconds") that follows its name in a sentence. It never quotes the
// prompt or the answer.
class LanguageModelError : public std::runtime_error {
 public:
  enum class Reason {
    question,  // this question: refused as it is, or its answer was cut or unreadable; asking again may not help
    server,    // the server alone: not reachable, overloaded, without the model, without the permission to use it
    timeOut,   // no answer in time, which says nothing about the question either
  };

  LanguageModelError(Reason reason, const std::string& text) : std::runtime_error(text), _reason(reason) {}

  Reason reason() const { return _reason; }

 private:
  Reason _reason;
};

class LanguageModel {
 public:
  struct Answer {
    std::string text;
    std::int64_t promptTokens = 0;  // instructions included; 0 when the server does not count
    std::int64_t answerTokens = 0;  // 0 when the server does not count

    bool operator==(const Answer&) const = default;
  };

  virtual ~LanguageModel() = default;

  // Whether a question would be taken now. Reasons are not told apart.
  virtual Task<bool> isAvailable() = 0;

  // A plain-text answer. Throws LanguageModelError.
  virtual Task<Answer> respond(std::string instructions, std::string prompt) = 0;

  // The text of a JSON object that GeneratedContent can read by `schema`, which must outlive the call. An answer of
  // another form is an error of the question. Throws LanguageModelError.
  virtual Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) = 0;

  // How many questions have reached a server since this object was made, answered or not. One that is sent again in
  // another form counts again; one that finds no server does not count.
  virtual std::int64_t questionsSent() const = 0;
};

}  // namespace pellora
