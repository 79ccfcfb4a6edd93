#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

#include "Adapters/Linux/Model/AnswerText.h"
#include "Adapters/Linux/Model/JsonReading.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

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
    throw LanguageModelError("The model server read only a part of the question.");
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

std::string decodeAnswer(std::string_view body, const ModelQuestion& question) {
  const json answer = json::parse(body, nullptr, false);
  if (!answer.is_object()) throw LanguageModelError("The model server's answer is not understood.");
  if (!member(answer, "error").is_null()) throw LanguageModelError("The model server answered with an error.");
  const json& choices = member(answer, "choices");
  if (!choices.is_array() || choices.empty()) throw LanguageModelError("The model server's answer is not understood.");
  const json& choice = choices.front();
  const std::string reason = textOf(member(choice, "finish_reason"));
  if (reason == "length") throw LanguageModelError("The model's answer was cut off because it grew too long.");
  if (reason != "stop") throw LanguageModelError("The model did not end its answer.");
  refuseCutPrompt(answer, question);
  const json& message = member(choice, "message");
  std::string thinking = textOf(member(message, "reasoning_content"));
  if (thinking.empty()) thinking = textOf(member(message, "reasoning"));
  return AnswerText::choose(textOf(member(message, "content")), thinking, question.isGuided());
}

bool isContextOverflow(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  const json& error = member(answer, "error");
  const std::string said = textOf(error) + textOf(member(error, "type")) + textOf(member(error, "code")) +
                           textOf(member(error, "message")) + textOf(member(answer, "message"));
  return said.find("context") != std::string::npos || said.find("too long") != std::string::npos;
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
