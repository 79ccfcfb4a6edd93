// The language model of this device: a local server that speaks the chat-completions dialect (or Ollama's own),
// reached over a Unix socket or the loopback interface and asked without blocking the main thread. Texts go to that
// server and nowhere else, and no error quotes them.
//
// When it is destroyed, questions under way are given up: their connections are closed within milliseconds, and the
// event loop resumes what waits for them with a LanguageModelError. They need nothing of this object by then.
// Tested by Tests/Adapters/ModelAdapterTests.cpp.
#pragma once

#include <memory>
#include <string>

#include "Adapters/Linux/Model/ModelEndpoint.h"
#include "Adapters/Linux/Model/ModelServer.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class ChatCompletionsLanguageModel : public LanguageModel {
 public:
  // An empty `model` means whichever fits of those that the server lists.
  explicit ChatCompletionsLanguageModel(ModelEndpoint endpoint, std::string model = {});
  ~ChatCompletionsLanguageModel() override;

  ChatCompletionsLanguageModel(const ChatCompletionsLanguageModel&) = delete;
  ChatCompletionsLanguageModel& operator=(const ChatCompletionsLanguageModel&) = delete;

  // As environment and settings say.
  static std::unique_ptr<ChatCompletionsLanguageModel> configured();

  Task<bool> isAvailable() override;
  Task<Answer> respond(std::string instructions, std::string prompt) override;
  Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) override;
  std::int64_t questionsSent() const override { return _server->questionsSent(); }

  // Looks at the server now. Never throws.
  Task<ModelReport> report();

  // Gives up what is under way and everything later, as the destructor does. For a program that ends.
  void close();

 private:
  std::shared_ptr<ModelServer> _server;
};

}  // namespace pellora
