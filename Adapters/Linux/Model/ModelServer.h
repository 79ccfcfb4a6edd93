// One model server: what is known of it, and the conversation with it. It is shared by its owner and by whatever
// question is under way, so that a question that outlives the owner still ends properly: `close` makes every
// request end, and all later ones.
//
// A positive answer about availability, and every answered question, is trusted for kTrust; a server that goes away
// is asked again. Main thread only; what the server sends is read in the worker thread.
// Tested by Tests/Adapters/ModelAdapterTests.cpp.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"
#include "Adapters/Linux/Model/HttpWorker.h"

namespace pellora {

// A report about the language model of this device, for the people who set it up.
struct ModelReport {
  bool isAvailable = false;
  std::string model;                          // the one that is asked; empty when none is chosen
  std::string where;                          // the socket or address; empty when there is none
  std::string server;                         // "Ollama", "LM Studio", "OpenAI-compatible"; empty when not available
  std::optional<std::int64_t> contextTokens;  // in use; absent when the server does not tell
  std::string reason;                         // why it is not available, one sentence; empty when it is
  std::string trouble;                        // the same as a clause: "is still loading its model"
  std::vector<std::string> models;            // all that the server lists
};

class ModelServer {
 public:
  static constexpr std::chrono::seconds kTrust{5};
  static constexpr std::chrono::seconds kProbeTimeout{2};
  static constexpr std::chrono::seconds kAnswerTimeout{300};  // a first question may load the model

  // An empty `wantedModel` means whichever fits.
  ModelServer(ModelEndpoint endpoint, std::string wantedModel)
      : _worker(std::move(endpoint)), _wantedModel(std::move(wantedModel)) {}

  static Task<bool> isAvailable(std::shared_ptr<ModelServer> self);

  // `question.model` is filled in. Throws LanguageModelError.
  static Task<LanguageModel::Answer> ask(std::shared_ptr<ModelServer> self, ModelQuestion question);

  // Looks now, whatever is known already. Sends no question.
  static Task<ModelReport> report(std::shared_ptr<ModelServer> self);

  // See LanguageModel.
  std::int64_t questionsSent() const { return _questionsSent; }

  void close() { _worker.close(); }

 private:
  using Clock = std::chrono::steady_clock;
  using Extras = ChatCompletionsProtocol::Extras;
  using Models = std::shared_ptr<std::vector<ListedModel>>;

  enum class Kind { ollama, lmStudio, other };

  struct Known {
    Kind kind = Kind::other;
    ListedModel model;
    Extras extras = Extras::both;
    bool areExtrasSettled = false;  // an answered question told which of them the server takes
  };

  // A question's answer as the worker thread has read it.
  struct Decoded;

  static Task<ModelReport> probe(std::shared_ptr<ModelServer> self);
  static Task<std::string> recognize(std::shared_ptr<ModelServer> self, Models models, ModelReport* report);
  static Task<std::string> identify(std::shared_ptr<ModelServer> self, Models models, Known* known);
  static Task<std::optional<std::int64_t>> findContext(std::shared_ptr<ModelServer> self);
  static Task<LanguageModel::Answer> askOllama(std::shared_ptr<ModelServer> self, ModelQuestion question);
  static Task<LanguageModel::Answer> askChatCompletions(std::shared_ptr<ModelServer> self, ModelQuestion question);
  static Task<std::string> troubleAfter(std::shared_ptr<ModelServer> self, HttpAnswer answer);
  static Task<HttpAnswer> get(std::shared_ptr<ModelServer> self, std::string path,
                              std::function<void(HttpAnswer&)> digest = nullptr);
  static Task<HttpAnswer> sendQuestion(std::shared_ptr<ModelServer> self, HttpRequest request);

  bool isTrusted() const { return _known && Clock::now() < _trustedUntil; }
  void trust() { _trustedUntil = Clock::now() + kTrust; }
  std::string trouble(const HttpAnswer& answer) const;
  LanguageModel::Answer requireAnswer(const HttpAnswer& answer, Decoded& decoded);

  HttpWorker _worker;
  std::int64_t _questionsSent = 0;
  std::string _wantedModel;
  std::string _modelInUse;  // the last one that was chosen, also while the server is away
  std::optional<Known> _known;
  Clock::time_point _trustedUntil;
};

}  // namespace pellora
