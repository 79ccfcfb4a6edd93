#include "Adapters/Linux/Model/ModelServer.h"

#include <filesystem>

#include "Adapters/Linux/Model/ModelChoice.h"
#include "Adapters/Linux/Model/OllamaProtocol.h"
#include "Adapters/Linux/Model/ServerError.h"

namespace pellora {

using ChatCompletionsProtocol::Extras;
using ChatCompletionsProtocol::ListedModel;

namespace {

constexpr int kLoading = 503;
constexpr int kNotFound = 404;
constexpr const char* kNotAModelServer = "does not answer as a model server does";

bool isAnsweredWith(const HttpAnswer& answer, int status) {
  return answer.outcome == HttpAnswer::Outcome::answered && answer.status == status;
}

bool rejectsFields(const HttpAnswer& answer) {
  if (answer.outcome != HttpAnswer::Outcome::answered || (answer.status != 400 && answer.status != 422)) return false;
  return !ServerError::isContextOverflow(answer.body);
}

}  // namespace

Task<HttpAnswer> ModelServer::get(std::shared_ptr<ModelServer> self, std::string path) {
  HttpRequest request;
  request.path = std::move(path);
  request.timeout = kProbeTimeout;
  return self->_worker.send(std::move(request));
}

// Why there is no list of models, as a clause about the server; empty when there is one.
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
    case HttpAnswer::Outcome::timedOut:
      return "did not answer within " + std::to_string(kProbeTimeout.count()) + " seconds";
    case HttpAnswer::Outcome::tooLarge:
    case HttpAnswer::Outcome::brokenOff:
      return kNotAModelServer;
    case HttpAnswer::Outcome::cancelled:
      return "was not asked: the question was cancelled";
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

  const HttpAnswer answer = co_await get(self, ChatCompletionsProtocol::kModelsPath);
  report.trouble = self->trouble(answer);
  if (report.trouble.empty()) {
    const auto listed = ChatCompletionsProtocol::decodeModels(answer.body);
    const ModelChoice choice = ModelChoice::among(listed.value_or(std::vector<ListedModel>()), self->_wantedModel);
    report.trouble = listed ? choice.trouble : kNotAModelServer;
    report.model = choice.model.id;
    if (report.trouble.empty() && (!self->_known || self->_known->model.id != report.model)) {
      std::string refusal = co_await recognise(self, choice.model);
      report.trouble = std::move(refusal);
    }
  }
  if (!report.trouble.empty()) {
    report.reason = "The model server " + report.trouble + ".";
    self->_known.reset();
    co_return report;
  }
  self->trust();
  report.isAvailable = true;
  report.server = self->_known->dialect == Dialect::ollama ? "Ollama" : "OpenAI-compatible";
  co_return report;
}

// Finds out which dialect the server speaks, and whether the model runs on this machine.
Task<std::string> ModelServer::recognise(std::shared_ptr<ModelServer> self, ListedModel model) {
  std::string refusal;
  Known known;
  known.model = std::move(model);
  const HttpAnswer version = co_await get(self, OllamaProtocol::kVersionPath);
  if (version.isOk() && OllamaProtocol::isVersion(version.body)) {
    const HttpAnswer tags = co_await get(self, OllamaProtocol::kTagsPath);
    // Such a server forwards to other machines when it is told to; without its list nobody knows whether it does.
    if (!tags.isOk() && !isAnsweredWith(tags, kNotFound)) {
      refusal = "did not tell where the model " + known.model.id + " runs, so it is not used";
      co_return refusal;
    }
    const auto tag = OllamaProtocol::fromTags(tags.isOk() ? tags.body : std::string(), known.model.id);
    if (tag) {
      HttpRequest request;
      request.path = OllamaProtocol::kShowPath;
      request.body = OllamaProtocol::showBody(known.model.id);
      request.timeout = kProbeTimeout;
      const HttpAnswer shown = co_await self->_worker.send(std::move(request));
      const auto facts = OllamaProtocol::fromShow(shown.isOk() ? shown.body : std::string());
      if (tag->isRemote || (facts && facts->isRemote)) {
        refusal = ModelChoice::forwardedTrouble(known.model.id);
        co_return refusal;
      }
      known.dialect = Dialect::ollama;
      if (facts) known.model.contextTokens = facts->contextTokens;
    }
  }
  self->_known = std::move(known);
  co_return refusal;
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
    const std::optional<long long> context = co_await findContext(self);
    report.contextTokens = context;
  }
  co_return report;
}

Task<std::optional<long long>> ModelServer::findContext(std::shared_ptr<ModelServer> self) {
  const Known known = *self->_known;
  if (known.model.contextTokens || known.dialect == Dialect::ollama) co_return known.model.contextTokens;
  const HttpAnswer properties = co_await get(self, ChatCompletionsProtocol::kPropertiesPath);
  std::optional<long long> context;
  if (properties.isOk()) context = ChatCompletionsProtocol::contextFromProperties(properties.body);
  if (context) co_return context;
  const HttpAnswer models = co_await get(self, ChatCompletionsProtocol::kDetailedModelsPath);
  if (models.isOk()) context = ChatCompletionsProtocol::contextFromDetailedModels(models.body, known.model.id);
  co_return context ? context : known.model.trainedTokens;
}

Task<LanguageModel::Answer> ModelServer::ask(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  if (!self->_known) {
    const ModelReport report = co_await probe(self);
    if (!report.isAvailable) throw LanguageModelError(LanguageModelError::Reason::server, report.trouble);
  }
  question.model = self->_known->model.id;
  LanguageModel::Answer answer;
  switch (self->_known->dialect) {
    case Dialect::chatCompletions:
      answer = co_await askChatCompletions(self, std::move(question));
      break;
    case Dialect::ollama:
      answer = co_await askOllama(self, std::move(question));
      break;
  }
  co_return answer;
}

Task<LanguageModel::Answer> ModelServer::askOllama(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  HttpRequest request;
  request.path = OllamaProtocol::kChatPath;
  request.timeout = kAnswerTimeout;
  const long long context = OllamaProtocol::contextFor(question, self->_known->model.contextTokens);
  request.body = OllamaProtocol::requestBody(question, context);
  const HttpAnswer answer = co_await self->_worker.send(std::move(request));
  self->requireAnswer(answer, question);
  co_return OllamaProtocol::decodeAnswer(answer.body, question);
}

Task<LanguageModel::Answer> ModelServer::askChatCompletions(std::shared_ptr<ModelServer> self, ModelQuestion question) {
  HttpRequest request;
  request.path = ChatCompletionsProtocol::kChatPath;
  request.timeout = kAnswerTimeout;
  Extras extras = self->_known->extras;
  const bool mayNegotiate = !self->_known->areExtrasSettled;
  request.body = ChatCompletionsProtocol::requestBody(question, extras);
  HttpAnswer answer = co_await self->_worker.send(request);
  while (mayNegotiate && extras != Extras::none && rejectsFields(answer)) {
    extras = extras == Extras::both ? Extras::templateOnly : Extras::none;
    request.body = ChatCompletionsProtocol::requestBody(question, extras);
    answer = co_await self->_worker.send(request);
  }
  if (self->_known) {
    if (answer.isOk()) self->_known->extras = extras;
    // Refused with nothing left to leave out: the fields were not the reason.
    self->_known->areExtrasSettled = answer.isOk() || rejectsFields(answer);
  }
  self->requireAnswer(answer, question);
  co_return ChatCompletionsProtocol::decodeAnswer(answer.body, question);
}

// Throws unless there is a body to decode; forgets the server when it went away or became another one.
void ModelServer::requireAnswer(const HttpAnswer& answer, const ModelQuestion& question) {
  using Reason = LanguageModelError::Reason;
  if (answer.isOk()) return trust();
  const bool answered = answer.outcome == HttpAnswer::Outcome::answered;
  if (!answered || answer.status == kLoading || answer.status == kNotFound) _known.reset();
  switch (answer.outcome) {
    case HttpAnswer::Outcome::answered:
      throw ServerError::toQuestion(answer.status, answer.body, question);
    case HttpAnswer::Outcome::timedOut:
      throw LanguageModelError(Reason::timeOut,
                               "gave no answer within " + std::to_string(kAnswerTimeout.count()) + " seconds");
    case HttpAnswer::Outcome::tooLarge:
      throw LanguageModelError(Reason::question, "gave an answer that is too large");
    case HttpAnswer::Outcome::brokenOff:
      throw LanguageModelError(Reason::server, "closed the connection before the answer was whole");
    case HttpAnswer::Outcome::noServer:
    case HttpAnswer::Outcome::cancelled:
      throw LanguageModelError(Reason::server, trouble(answer));
  }
}

}  // namespace pellora
