#include "Adapters/Linux/Model/OllamaProtocol.h"

#include <algorithm>

#include "Adapters/Linux/Model/AnswerText.h"
#include "Adapters/Linux/Model/JsonReading.h"
#include "Adapters/Linux/Model/ServerError.h"

namespace pellora::OllamaProtocol {

namespace {

using JsonReading::member;
using JsonReading::positive;
using JsonReading::textOf;
using nlohmann::json;
using nlohmann::ordered_json;

constexpr long long kUsualContextTokens = 8192;
constexpr long long kTemplateTokens = 256;  // what a chat template adds around the messages

bool isRemote(const json& model) {
  return !textOf(member(model, "remote_host")).empty() || !textOf(member(model, "remote_model")).empty();
}

// An upper bound for common vocabularies: three letters of plain text a token, two bytes of anything else.
long long estimatedTokens(std::string_view text) {
  const auto other = std::count_if(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
  const auto plain = static_cast<long long>(text.size()) - other;
  return plain / 3 + other / 2 + 1;
}

}  // namespace

bool isVersion(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  return !textOf(member(answer, "version")).empty();
}

std::optional<KnownModel> fromTags(std::string_view body, const std::string& model) {
  const json answer = json::parse(body, nullptr, false);
  const json& models = member(answer, "models");
  if (!models.is_array()) return std::nullopt;
  for (const json& item : models) {
    if (textOf(member(item, "name")) != model && textOf(member(item, "model")) != model) continue;
    return KnownModel{isRemote(item), std::nullopt};
  }
  return std::nullopt;
}

std::string showBody(const std::string& model) {
  return json{{"model", model}}.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<KnownModel> fromShow(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  if (!answer.is_object()) return std::nullopt;
  KnownModel known{isRemote(answer), std::nullopt};
  const json& facts = member(answer, "model_info");
  if (!facts.is_object()) return known;
  for (const auto& [key, value] : facts.items()) {
    if (!key.ends_with(".context_length")) continue;
    if (const auto tokens = positive(value)) known.contextTokens = tokens;
  }
  return known;
}

long long contextFor(const ModelQuestion& question, std::optional<long long> modelLimit) {
  const long long needed = estimatedTokens(question.systemMessage()) + estimatedTokens(question.prompt) +
                           kTemplateTokens + kMaximumAnswerTokens;
  const long long most = modelLimit.value_or(kUsualContextTokens);
  long long context = kUsualContextTokens;
  while (context < needed && context < most) context *= 2;
  return std::min(context, most);
}

std::string requestBody(const ModelQuestion& question, long long contextTokens) {
  ordered_json body;
  body["model"] = question.model;
  body["stream"] = false;
  body["think"] = false;
  body["truncate"] = false;
  body["shift"] = false;
  body["options"]["num_ctx"] = contextTokens;
  body["options"]["num_predict"] = kMaximumAnswerTokens;
  body["messages"] = ordered_json::array(
      {{{"role", "system"}, {"content", question.systemMessage()}}, {{"role", "user"}, {"content", question.prompt}}});
  if (question.isGuided()) body["format"] = ordered_json::parse(question.schemaText);
  return body.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question) {
  const json answer = json::parse(body, nullptr, false);
  if (!answer.is_object()) throw AnswerText::unreadable();
  if (!member(answer, "error").is_null()) throw ServerError::toQuestion(200, body, question);
  if (isRemote(answer))
    throw LanguageModelError(LanguageModelError::Reason::server, "gave an answer of another machine's model");
  AnswerText::requireEnd(member(answer, "done") == true ? textOf(member(answer, "done_reason")) : std::string());
  const json& message = member(answer, "message");
  return {
      AnswerText::choose(textOf(member(message, "content")), textOf(member(message, "thinking")), question.isGuided()),
      positive(member(answer, "prompt_eval_count")).value_or(0), positive(member(answer, "eval_count")).value_or(0)};
}

}  // namespace pellora::OllamaProtocol
