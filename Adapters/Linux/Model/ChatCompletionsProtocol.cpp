#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

#include "Adapters/Linux/Model/ServerError.h"

namespace pellora::ChatCompletionsProtocol {

namespace {

// Absent unless it is a whole number above zero.
std::optional<std::int64_t> positive(const JsonValue& value) {
  const std::optional<std::int64_t> number = value.integer();
  return number && *number > 0 ? number : std::nullopt;
}

}  // namespace

std::string requestBody(const ModelQuestion& question, Extras extras) {
  JsonValue body = JsonValue::object({{"model", question.model},
                                      {"stream", false},
                                      {"max_tokens", kMaximumAnswerTokens},
                                      {"messages", question.messages()}});
  if (question.isGuided()) {
    JsonValue schema =
        JsonValue::object({{"name", question.schema->name},
                           {"strict", true},
                           {"schema", JsonValue::parse(question.schema->jsonSchema()).value_or(JsonValue())}});
    body.set("response_format", JsonValue::object({{"type", "json_schema"}, {"json_schema", std::move(schema)}}));
  }
  if (extras != Extras::none) body.set("chat_template_kwargs", JsonValue::object({{"enable_thinking", false}}));
  if (extras == Extras::both) body.set("reasoning_effort", "none");
  return body.dump();
}

LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  if (!answer.isObject()) throw ModelAnswer::unreadable();
  if (!answer["error"].isNull()) throw ServerError::toQuestion(200, body, question);
  const JsonValue::Array& choices = answer["choices"].elements();
  if (choices.empty()) throw ModelAnswer::unreadable();
  const JsonValue& choice = choices.front();
  ModelAnswer::requireEnd(choice["finish_reason"].text());
  const std::int64_t promptTokens = ModelAnswer::tokens(answer["usage"]["prompt_tokens"]);
  ModelAnswer::requireWholePrompt(question, promptTokens);
  const JsonValue& message = choice["message"];
  const std::string& thinking = message["reasoning_content"].text();
  return {ModelAnswer::choose(message["content"].text(), thinking.empty() ? message["reasoning"].text() : thinking,
                              question.schema),
          promptTokens, ModelAnswer::tokens(answer["usage"]["completion_tokens"])};
}

std::optional<std::vector<ListedModel>> decodeModels(std::string_view body) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  const JsonValue& data = answer["data"];
  const bool isEmptyList = data.isNull() && answer["object"].text() == "list";
  if (!data.isArray() && !isEmptyList) return std::nullopt;
  std::vector<ListedModel> models;
  for (const JsonValue& item : data.elements()) {
    ListedModel model;
    model.id = item["id"].text();
    if (model.id.empty()) continue;
    model.contextTokens = positive(item["max_model_len"]);
    if (!model.contextTokens) model.contextTokens = positive(item["meta"]["n_ctx"]);
    model.trainedTokens = positive(item["meta"]["n_ctx_train"]);
    model.isLoaded = item["status"]["value"].text() == "loaded";
    models.push_back(std::move(model));
  }
  return models;
}

std::optional<std::int64_t> contextFromProperties(std::string_view body) {
  return positive(JsonValue::parse(body).value_or(JsonValue())["default_generation_settings"]["n_ctx"]);
}

bool addDetails(std::string_view body, std::vector<ListedModel>& models) {
  const JsonValue answer = JsonValue::parse(body).value_or(JsonValue());
  if (!answer["data"].isArray()) return false;
  const ModelsByName byName(models);
  for (const JsonValue& item : answer["data"].elements()) {
    ListedModel* const model = byName.find(item["id"].text());
    if (model == nullptr) continue;
    const std::string& type = item["type"].text();
    if (!type.empty()) model->completesText = type == "llm" || type == "vlm";
    model->isLoaded = item["state"].text() == "loaded";
    model->contextTokens = positive(item["loaded_context_length"]);
    model->trainedTokens = positive(item["max_context_length"]);
  }
  return true;
}

}  // namespace pellora::ChatCompletionsProtocol
