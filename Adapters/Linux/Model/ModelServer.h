// One model server: what is known of it, and the conversation with it. It is shared by its owner and by whatever
// question is under way, so that a question that outlives the owner still ends properly: `close` makes every
// request end, and all later ones.
//
// A positive answer about availability, and every answered question, is trusted for kTrust; a server that goes away
// is asked anew. Main thread only.
// Tested by Tests/Adapters/ModelAdapterTests.cpp.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"
#include "Adapters/Linux/Model/HttpWorker.h"
#include "Adapters/Linux/Model/ModelQuestion.h"
#include "Adapters/Linux/Model/ModelReport.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

class ModelServer {
 public:
  static constexpr std::chrono::seconds kTrust{5};
  static constexpr std::chrono::seconds kProbeTimeout{2};
  static constexpr std::chrono::seconds kAnswerTimeout{300};  // a first question may load the model

  // An empty `wantedModel` means the first that the server lists.
  ModelServer(ModelEndpoint endpoint, std::string wantedModel)
      : _worker(std::move(endpoint)), _wantedModel(std::move(wantedModel)) {}

  static Task<bool> isAvailable(std::shared_ptr<ModelServer> self);

  // `question.model` is filled in. Throws LanguageModelError.
  static Task<LanguageModel::Answer> ask(std::shared_ptr<ModelServer> self, ModelQuestion question);

  // Looks now, whatever is known already.
  static Task<ModelReport> report(std::shared_ptr<ModelServer> self);

  void close() { _worker.close(); }

 private:
  using Clock = std::chrono::steady_clock;

  enum class Dialect { chatCompletions, ollama };

  struct Known {
    Dialect dialect = Dialect::chatCompletions;
    ChatCompletionsProtocol::ListedModel model;
    ChatCompletionsProtocol::Extras extras = ChatCompletionsProtocol::Extras::both;
    bool areExtrasSettled = false;  // a request told which of them the server takes
  };

  static Task<ModelReport> probe(std::shared_ptr<ModelServer> self);
  // Why the model is not to be used; empty when it may be, and `_known` is set.
  static Task<std::string> recognise(std::shared_ptr<ModelServer> self, ChatCompletionsProtocol::ListedModel model);
  static Task<std::optional<long long>> findContext(std::shared_ptr<ModelServer> self);
  static Task<LanguageModel::Answer> askOllama(std::shared_ptr<ModelServer> self, ModelQuestion question);
  static Task<LanguageModel::Answer> askChatCompletions(std::shared_ptr<ModelServer> self, ModelQuestion question);
  static Task<HttpAnswer> get(std::shared_ptr<ModelServer> self, std::string path);

  bool isTrusted() const { return _known && Clock::now() < _trustedUntil; }
  void trust() { _trustedUntil = Clock::now() + kTrust; }
  std::string trouble(const HttpAnswer& answer) const;
  void requireAnswer(const HttpAnswer& answer, const ModelQuestion& question);

  HttpWorker _worker;
  std::string _wantedModel;
  std::optional<Known> _known;
  Clock::time_point _trustedUntil;
};

}  // namespace pellora
