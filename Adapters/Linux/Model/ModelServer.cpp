#include "Adapters/Linux/Model/ModelServer.h"

#include <filesystem>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"
#include "Adapters/Linux/Model/OllamaProtocol.h"

namespace pellora {

namespace {

constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kUnprocessable = 422;
constexpr int kLoading = 503;
constexpr const char* kNotAModelServer = "does not answer as a model server does";

bool isAnsweredWith(const HttpAnswer& answer, int status) {
  return answer.outcome == HttpAnswer::Outcome::answered && answer.status == status;
}

const char* nameOf(bool isOllama, bool isLmStudio) {
  return isOllama ? "Ollama" : isLmStudio ? "LM Studio" : "OpenAI-compatible";
}

}  // namespace

struct ModelServer::Decoded {
  LanguageModel::Answer answer;
  std::exception_ptr error;
  bool refusesFields = false;  // perhaps because of fields that the server has not heard of
  bool lacksModel = false;     // says so as if the question were at fault

  template <class Decode>
  static std::function<void(HttpAnswer&)> digest(std::shared_ptr<Decoded> result, ModelQuestion question,
                                                 Decode decode) {
    return [result, question = std::move(question), decode](HttpAnswer& answer) {
      if (answer.outcome != HttpAnswer::Outcome::answered) return;
      *result = Decoded();
      try {
        if (answer.status != 200) throw ServerError::toQuestion(answer.status, answer.body, question);
        result->answer = decode(answer.body, question);
      } catch (const LanguageModelError& error) {
        const bool isRefused = answer.status == kBadRequest || answer.status == kUnprocessable;
        const bool isQuestionsFault = error.reason() == LanguageModelError::Reason::question;
        result->refusesFields = isRefused && isQuestionsFault && !ServerError::isContextOverflow(answer.body);
        result->lacksModel = isRefused && !isQuestionsFault;
        result->error = std::current_exception();
      } catch (...) {
        result->error = std::current_exception();
      }
      answer.body.clear();
    };
  }
};

Task<HttpAnswer> ModelServer::get(std::shared_ptr<ModelServer> self, std::string path,
                                  std::function<void(HttpAnswer&)> digest) {
  HttpRequest request;
  request.path = std::move(path);
  request.timeout = kProbeTimeout;
  request.digest = std::move(digest);
  return self->_worker.send(std::move(request));
}

// Why there is no answer, as a clause about the server; empty when there is one.
std::string ModelServer::trouble(const HttpAnswer& answer) const {
  const ModelEndpoint& endpoint = _worker.endpoint();
  std::error_code ignored;
  switch (answer.outcome) {
    case HttpAnswer::Outcome::answered:
      if (answer.status == 200) return {};
      if (answer.status == kLoading) return "is still loading its model";
      return ServerError::clause(answer.status, answer.body);
    case HttpAnswer::Outcome::noServer:
      if (!endpoint.socketPath.empty() && !std::filesystem::exists(endpoint.socketPath, ignored))
        return "is not running: there is no socket at " + endpoint.socketPath;
      return "does not listen at " + endpoint.where;
    case HttpAnswer::Outcome::foreignOwner:
      return "at " + endpoint.where + " belongs to another user of this machine, so it is not used";
    case HttpAnswer::Outcome::timedOut:
      return "did not answer within " + std::to_string(kProbeTimeout.count()) + " seconds";
    case HttpAnswer::Outcome::brokenOff:
      return "closed the connection without an answer";
    case HttpAnswer::Outcome::tooLarge:
    case HttpAnswer::Outcome::notHttp:
      return kNotAModelServer;
    case HttpAnswer::Outcome::noResources:
      return "could not be asked: this program can open no more files";
    case HttpAnswer::Outcome::canceled:
      return "was not asked: the question was canceled";
  }
  return {};
}

Task<ModelReport> ModelServer::probe(std::shared_ptr<ModelServer> self) {
  ModelReport report;
  report.where = self->_worker.endpoint().where;
  if (!self->_worker.endpoint().isUsable()) {
    report.trouble = "is not set up";
    report.reason = self->_worker.endpoint().refusal;
    co_return report;
  }
  const auto listed = std::make_shared<std::optional<std::vector<ListedModel>>>();
  const HttpAnswer answer = co_await get(self, ChatCompletionsProtocol::kModelsPath, [listed](HttpAnswer& received) {
    if (received.isOk()) *listed = ChatCompletionsProtocol::decodeModels(received.body);
  });
  report.trouble = self->trouble(answer);
  if (report.trouble.empty() && !*listed) report.trouble = kNotAModelServer;
  if (report.trouble.empty()) {
    for (const ListedModel& model : **listed) report.models.push_back(model.id);
    const Models models = std::make_shared<std::vector<ListedModel>>(std::move(**listed));
    std::string refusal = co_await recognize(self, models, &report);
    report.trouble = std::move(refusal);
  }
  if (!report.trouble.empty()) {
    report.reason = "The model server " + report.trouble + ".";
    self->_known.reset();
    co_return report;
  }
  self->trust();
  report.isAvailable = true;
  report.server = nameOf(self->_known->kind == Kind::ollama, self->_known->kind == Kind::lmStudio);
  co_return report;
}

// Finds out whether one of the models is to be asked, and how. Gives the reason why not; empty: `_known` is set.
Task<std::string> ModelServer::recognize(std::shared_ptr<ModelServer> self, Models models, ModelReport* report) {
  const ModelChoice first = ModelChoice::among(*models, self->_wantedModel, self->_modelInUse);
  report->model = first.model.id;
  if (self->_known && self->_known->model.id == first.model.id) co_return std::string();
  if (models->empty() || (first.model.id.empty() && !self->_wantedModel.empty())) co_return first.trouble;
  Known known;
  std::string refusal = co_await identify(self, models, &known);
  if (refusal.empty()) {
    const ModelChoice choice = ModelChoice::among(*models, self->_wantedModel, self->_modelInUse);
    report->model = choice.model.id;
    refusal = choice.trouble;
    known.model = choice.model;
  }
  if (refusal.empty() && known.kind == Kind::ollama) {
    HttpRequest request;
    request.path = OllamaProtocol::kShowPath;
    request.body = OllamaProtocol::showBody(known.model.id);
    request.timeout = kProbeTimeout;
    const auto model = std::make_shared<ListedModel>(known.model);
    request.digest = [model](HttpAnswer& received) {
      if (received.isOk()) OllamaProtocol::addFacts(received.body, *model);
    };
    const HttpAnswer shown = co_await self->_worker.send(std::move(request));
    known.model = *model;
    if (shown.outcome != HttpAnswer::Outcome::answered) refusal = self->trouble(shown);
    if (model->isRemote) refusal = ModelChoice::forwardedTrouble(model->id);
  }
  if (refusal.empty()) {
    self->_modelInUse = known.model.id;
    self->_known = std::move(known);
  }
  co_return refusal;
}

// Why the server cannot be asked after it left a page without an answer; empty when it still answers others. One that
// goes away meanwhile must not be mistaken for another make, which forwards nothing; one that merely has no such page
// may say so by closing the connection.
Task<std::string> ModelServer::troubleAfter(std::shared_ptr<ModelServer> self, HttpAnswer answer) {
  if (answer.outcome == HttpAnswer::Outcome::answered) co_return std::string();
  const HttpAnswer list = co_await get(self, ChatCompletionsProtocol::kModelsPath);
  std::string trouble = self->trouble(list);
  co_return trouble;
}

// Which make the server is of, by more than one of its pages, and what it says about its models.
Task<std::string> ModelServer::identify(std::shared_ptr<ModelServer> self, Models models, Known* known) {
  const auto holds = std::make_shared<bool>(false);
  const HttpAnswer version = co_await get(self, OllamaProtocol::kVersionPath, [holds](HttpAnswer& received) {
    *holds = received.isOk() && OllamaProtocol::isVersion(received.body);
  });
  std::string refusal = co_await troubleAfter(self, version);
  if (!refusal.empty()) co_return refusal;
  if (!*holds) {
    co_await get(self, ChatCompletionsProtocol::kDetailedModelsPath, [holds, models](HttpAnswer& received) {
      *holds = received.isOk() && ChatCompletionsProtocol::addDetails(received.body, *models);
    });
    if (*holds) known->kind = Kind::lmStudio;
    co_return std::string();
  }
  *holds = false;
  const HttpAnswer tags = co_await get(self, OllamaProtocol::kTagsPath, [holds, models](HttpAnswer& received) {
    *holds = received.isOk() && OllamaProtocol::addTags(received.body, *models);
  });
  if (tags.outcome != HttpAnswer::Outcome::answered) co_return self->trouble(tags);
  // Such a server forwards to other machines when it is told to; without its list nobody knows whether it does.
  if (!tags.isOk() && !isAnsweredWith(tags, kNotFound)) co_return "did not say where its models run, so it is not used";
  if (!*holds) co_return std::string();
  co_await get(self, OllamaProtocol::kRunningPath, [models](HttpAnswer& received) {
    if (received.isOk()) OllamaProtocol::addRunning(received.body, *models);
  });
  const HttpAnswer imitator = co_await get(self, OllamaProtocol::kImitatorsPath);
  refusal = co_await troubleAfter(self, imitator);
  if (!refusal.empty()) co_return refusal;
  if (!imitator.isOk()) known->kind = Kind::ollama;
  co_return std::string();
}

Task<bool> ModelServer::isAvailable(std::shared_ptr<ModelServer> self) {
  if (self->isTrusted()) co_return true;
  const ModelReport report = co_await probe(self);
  co_return report.isAvailable;
}

Task<ModelReport> ModelServer::report(std::shared_ptr<ModelServer> self) {
  self->_known.reset();
  ModelReport report = co_await probe(self);
  if (report.isAvailable && self->_known) {
    const std::optional<std::int64_t> context = co_await findContext(self);
    report.contextTokens = context;
  }
  co_return report;
}

Task<std::optional<std::int64_t>> ModelServer::findContext(std::shared_ptr<ModelServer> self) {
  const Known known = *self->_known;
  if (known.model.contextTokens) co_return known.model.contextTokens;
  if (known.kind == Kind::ollama) co_return OllamaProtocol::usualContext(known.model.trainedTokens);
  if (known.kind == Kind::lmStudio) co_return std::optional<std::int64_t>();
  const auto context = std::make_shared<std::optional<std::int64_t>>();
  co_await get(self, ChatCompletionsProtocol::kPropertiesPath, [context](HttpAnswer& received) {
    if (received.isOk()) *context = ChatCompletionsProtocol::contextFromProperties(received.body);
  });
  co_return std::optional<std::int64_t>(*context);
}

Task<LanguageModel::Answer> ModelServer::ask(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  if (!self->_known) {
    const ModelReport report = co_await probe(self);
    if (!report.isAvailable) throw LanguageModelError(LanguageModelError::Reason::server, report.trouble);
  }
  question.model = self->_known->model.id;
  LanguageModel::Answer answer;
  if (self->_known->kind == Kind::ollama)
    answer = co_await askOllama(self, std::move(question));
  else
    answer = co_await askChatCompletions(self, std::move(question));
  co_return answer;
}

Task<HttpAnswer> ModelServer::sendQuestion(std::shared_ptr<ModelServer> self, HttpRequest request) {
  using Outcome = HttpAnswer::Outcome;
  HttpAnswer answer = co_await self->_worker.send(std::move(request));
  const bool isSent = answer.outcome != Outcome::noServer && answer.outcome != Outcome::foreignOwner &&
                      answer.outcome != Outcome::noResources && answer.outcome != Outcome::canceled;
  if (isSent) ++self->_questionsSent;
  co_return answer;
}

Task<LanguageModel::Answer> ModelServer::askOllama(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  const auto decoded = std::make_shared<Decoded>();
  HttpRequest request;
  request.path = OllamaProtocol::kChatPath;
  request.timeout = kAnswerTimeout;
  const std::int64_t context = OllamaProtocol::contextFor(question, self->_known->model.trainedTokens);
  request.body = OllamaProtocol::requestBody(question, context);
  request.digest = Decoded::digest(decoded, std::move(question), &OllamaProtocol::decodeAnswer);
  const HttpAnswer answer = co_await sendQuestion(self, std::move(request));
  LanguageModel::Answer result = self->requireAnswer(answer, *decoded);
  co_return result;
}

Task<LanguageModel::Answer> ModelServer::askChatCompletions(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  const auto decoded = std::make_shared<Decoded>();
  HttpRequest request;
  request.path = ChatCompletionsProtocol::kChatPath;
  request.timeout = kAnswerTimeout;
  request.digest = Decoded::digest(decoded, question, &ChatCompletionsProtocol::decodeAnswer);
  Extras extras = self->_known->extras;
  const bool mayNegotiate = !self->_known->areExtrasSettled;
  request.body = ChatCompletionsProtocol::requestBody(question, extras);
  HttpAnswer answer = co_await sendQuestion(self, request);
  while (mayNegotiate && extras != Extras::none && decoded->refusesFields &&
         answer.outcome == HttpAnswer::Outcome::answered) {
    extras = extras == Extras::both ? Extras::templateOnly : Extras::none;
    request.body = ChatCompletionsProtocol::requestBody(question, extras);
    answer = co_await sendQuestion(self, request);
  }
  if (self->_known && answer.isOk()) {
    self->_known->extras = extras;
    self->_known->areExtrasSettled = true;
  } else if (self->_known && decoded->refusesFields) {
    // Nothing was left to leave out, so the question was the reason; or the server is another one than before.
    self->_known->extras = Extras::both;
    self->_known->areExtrasSettled = false;
  }
  LanguageModel::Answer result = self->requireAnswer(answer, *decoded);
  co_return result;
}

// Throws unless the question was answered; forgets the server when it went away or became another one.
LanguageModel::Answer ModelServer::requireAnswer(const HttpAnswer& answer, Decoded& decoded) {
  using Reason = LanguageModelError::Reason;
  const bool isAnswered = answer.outcome == HttpAnswer::Outcome::answered;
  if (answer.isOk()) trust();
  if (!isAnswered || answer.status == kLoading || answer.status == kNotFound || decoded.lacksModel) _known.reset();
  if (decoded.lacksModel) _modelInUse.clear();
  switch (answer.outcome) {
    case HttpAnswer::Outcome::answered:
      if (decoded.error) std::rethrow_exception(decoded.error);
      return std::move(decoded.answer);
    case HttpAnswer::Outcome::timedOut:
      throw LanguageModelError(Reason::timeOut,
                               "gave no answer within " + std::to_string(kAnswerTimeout.count()) + " seconds");
    case HttpAnswer::Outcome::tooLarge:
      throw LanguageModelError(Reason::question, "gave an answer that is too large");
    case HttpAnswer::Outcome::brokenOff:
      throw LanguageModelError(Reason::server, "closed the connection before the answer was complete");
    case HttpAnswer::Outcome::noServer:
    case HttpAnswer::Outcome::foreignOwner:
    case HttpAnswer::Outcome::notHttp:
    case HttpAnswer::Outcome::noResources:
    case HttpAnswer::Outcome::canceled:
      break;
  }
  throw LanguageModelError(Reason::server, trouble(answer));
}

}  // namespace pellora
