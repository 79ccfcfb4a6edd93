#include "Adapters/Linux/Model/OllamaProtocol.h"

#include <algorithm>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

namespace pellora::OllamaProtocol {

namespace {

constexpr std::int64_t kUsualContextTokens = 8192;
constexpr std::int64_t kTemplateTokens = 256;  // what a chat template adds around the messages

bool isRemote(const JsonValue& model) {
  return !model["remote_host"].text().empty() || !model["remote_model"].text().empty();
}

std::optional<std::int64_t> positive(const JsonValue& value) {
  const std::optional<std::int64_t> number = value.integer();
  return number && *number > 0 ? number : std::nullopt;
}

ListedModel* named(const ModelsByName& models, const JsonValue& item) {
  ListedModel* const model = models.find(item["name"].text());
  return model != nullptr ? model : models.find(item["model"].text());
}

void addCapabilities(const JsonValue& item, ListedModel& model) {
  const JsonValue::Array& capabilities = item["capabilities"].elements();
  if (capabilities.empty()) return;
  model.completesText = std::any_of(capabilities.begin(), capabilities.end(),
                                    [](const JsonValue& capability) { return capability.text() == "completion"; });
}

// An upper bound for common vocabularies: three letters of plain text a token, two bytes of anything else.
std::int64_t estimatedTokens(std::string_view text) {
  const auto other = std::count_if(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
  const auto plain = static_cast<std::int64_t>(text.size()) - other;
  return plain / 3 + other / 2 + 1;
}

}  // namespace

bool isVersion(std::string_view body) {
  return !JsonValue::parse(body).value_or(JsonValue())["version"].text().empty();
}

bool addTags(std::string_view body, std::vector<ListedModel>& models) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  bool isListed = false;
  const ModelsByName byName(models);
  for (const JsonValue& item : answer["models"].elements()) {
    ListedModel* const model = named(byName, item);
    if (model == nullptr) continue;
    isListed = true;
    model->isRemote = isRemote(item);
    addCapabilities(item, *model);
  }
  return isListed;
}

void addRunning(std::string_view body, std::vector<ListedModel>& models) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  const ModelsByName byName(models);
  for (const JsonValue& item : answer["models"].elements()) {
    ListedModel* const model = named(byName, item);
    if (model == nullptr) continue;
    model->isLoaded = true;
    model->contextTokens = positive(item["context_length"]);
  }
}

std::string showBody(const std::string& model) {
  return JsonValue::object({{"model", model}}).dump();
}

void addFacts(std::string_view body, ListedModel& model) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  model.isRemote = model.isRemote || isRemote(answer);
  addCapabilities(answer, model);
  for (const auto& [key, value] : answer["model_info"].members()) {
    if (!key.ends_with(".context_length")) continue;
    if (const auto tokens = positive(value)) model.trainedTokens = tokens;
  }
}

std::int64_t usualContext(std::optional<std::int64_t> trained) {
  return std::min(kUsualContextTokens, trained.value_or(kUsualContextTokens));
}

std::int64_t contextFor(const ModelQuestion& question, std::optional<std::int64_t> trained) {
  const std::int64_t needed = estimatedTokens(question.systemMessage()) + estimatedTokens(question.prompt) +
                              kTemplateTokens + kMaximumAnswerTokens;
  const std::int64_t most = trained.value_or(kUsualContextTokens);
  std::int64_t context = kUsualContextTokens;
  while (context < needed && context < most) context *= 2;
  return std::min(context, most);
}

std::string requestBody(const ModelQuestion& question, std::int64_t contextTokens) {
  JsonValue body = JsonValue::object(
      {{"model", question.model},
       {"stream", false},
       {"think", false},
       {"truncate", false},
       {"shift", false},
       {"options", JsonValue::object({{"num_ctx", contextTokens}, {"num_predict", kMaximumAnswerTokens}})},
       {"messages", question.messages()}});
  if (question.isGuided()) body.set("format", JsonValue::parse(question.schema->jsonSchema()).value_or(JsonValue()));
  return body.dump();
}

LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  if (!answer.isObject()) throw ModelAnswer::unreadable();
  if (!answer["error"].isNull()) throw ServerError::toQuestion(200, body, question);
  if (isRemote(answer))
    throw LanguageModelError(LanguageModelError::Reason::server, "gave an answer from a model on another machine");
  ModelAnswer::requireEnd(answer["done"].boolean().value_or(false) ? answer["done_reason"].text() : std::string());
  const JsonValue& message = answer["message"];
  return {ModelAnswer::choose(message["content"].text(), message["thinking"].text(), question.schema),
          ModelAnswer::tokens(answer["prompt_eval_count"]), ModelAnswer::tokens(answer["eval_count"])};
}

}  // namespace pellora::OllamaProtocol
