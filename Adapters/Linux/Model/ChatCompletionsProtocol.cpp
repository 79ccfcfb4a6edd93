#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

#include "Adapters/Linux/Model/AnswerText.h"
#include "Adapters/Linux/Model/JsonReading.h"
#include "Adapters/Linux/Model/ServerError.h"

namespace pellora::ChatCompletionsProtocol {

namespace {

using JsonReading::member;
using JsonReading::positive;
using JsonReading::textOf;
using nlohmann::json;
using nlohmann::ordered_json;

// Where a server silently cuts a prompt, it counts at least this many tokens, and no text takes this many bytes for
// each of them.
constexpr long long kSmallestContextTokens = 1024;
constexpr long long kMostBytesPerToken = 16;

void refuseCutPrompt(const json& answer, const ModelQuestion& question) {
  const std::optional<long long> counted = positive(member(member(answer, "usage"), "prompt_tokens"));
  const auto sent = static_cast<long long>(question.systemMessage().size() + question.prompt.size());
  if (counted && *counted >= kSmallestContextTokens && sent / kMostBytesPerToken > *counted)
    throw AnswerText::cutPrompt();
}

}  // namespace

std::string requestBody(const ModelQuestion& question, Extras extras) {
  ordered_json body;
  body["model"] = question.model;
  body["stream"] = false;
  body["max_tokens"] = kMaximumAnswerTokens;
  body["messages"] = ordered_json::array(
      {{{"role", "system"}, {"content", question.systemMessage()}}, {{"role", "user"}, {"content", question.prompt}}});
  if (question.isGuided()) {
    ordered_json format;
    format["type"] = "json_schema";
    format["json_schema"]["name"] = question.schemaName;
    format["json_schema"]["strict"] = true;
    format["json_schema"]["schema"] = ordered_json::parse(question.schemaText);
    body["response_format"] = std::move(format);
  }
  if (extras != Extras::none) body["chat_template_kwargs"]["enable_thinking"] = false;
  if (extras == Extras::both) body["reasoning_effort"] = "none";
  return body.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question) {
  const json answer = json::parse(body, nullptr, false);
  if (!answer.is_object()) throw AnswerText::unreadable();
  if (!member(answer, "error").is_null()) throw ServerError::toQuestion(200, body, question);
  const json& choices = member(answer, "choices");
  if (!choices.is_array() || choices.empty()) throw AnswerText::unreadable();
  const json& choice = choices.front();
  AnswerText::requireEnd(textOf(member(choice, "finish_reason")));
  refuseCutPrompt(answer, question);
  const json& message = member(choice, "message");
  std::string thinking = textOf(member(message, "reasoning_content"));
  if (thinking.empty()) thinking = textOf(member(message, "reasoning"));
  const json& usage = member(answer, "usage");
  return {AnswerText::choose(textOf(member(message, "content")), thinking, question.isGuided()),
          positive(member(usage, "prompt_tokens")).value_or(0),
          positive(member(usage, "completion_tokens")).value_or(0)};
}

std::optional<std::vector<ListedModel>> decodeModels(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  const json& data = member(answer, "data");
  const bool isEmptyList = data.is_null() && textOf(member(answer, "object")) == "list";
  if (!data.is_array() && !isEmptyList) return std::nullopt;
  std::vector<ListedModel> models;
  for (const json& item : data) {
    ListedModel model;
    model.id = textOf(member(item, "id"));
    if (model.id.empty()) continue;
    model.contextTokens = positive(member(item, "max_model_len"));
    if (!model.contextTokens) model.contextTokens = positive(member(member(item, "meta"), "n_ctx"));
    model.trainedTokens = positive(member(member(item, "meta"), "n_ctx_train"));
    models.push_back(std::move(model));
  }
  return models;
}

std::optional<long long> contextFromProperties(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  return positive(member(member(answer, "default_generation_settings"), "n_ctx"));
}

std::optional<long long> contextFromDetailedModels(std::string_view body, const std::string& model) {
  const json answer = json::parse(body, nullptr, false);
  const json& data = member(answer, "data");
  if (!data.is_array()) return std::nullopt;
  for (const json& item : data) {
    if (textOf(member(item, "id")) != model) continue;
    const std::optional<long long> loaded = positive(member(item, "loaded_context_length"));
    return loaded ? loaded : positive(member(item, "max_context_length"));
  }
  return std::nullopt;
}

}  // namespace pellora::ChatCompletionsProtocol
