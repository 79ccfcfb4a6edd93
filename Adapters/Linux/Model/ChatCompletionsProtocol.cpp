#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

#include <algorithm>
#include <array>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::ChatCompletionsProtocol {

namespace {

// Absent unless it is a whole number above zero.
std::optional<std::int64_t> positive(const JsonValue& value) {
  const std::optional<std::int64_t> number = value.integer();
  return number && *number > 0 ? number : std::nullopt;
}

bool isAmong(const JsonValue::Array& names, std::string_view name) {
  return std::any_of(names.begin(), names.end(), [name](const JsonValue& item) { return item.text() == name; });
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
    const std::string& state = item["status"]["value"].text();
    model.isLoaded = state == "loaded" || state == "sleeping";  // a sleeping one wakes up for a question
    const JsonValue::Array& outputs = item["architecture"]["output_modalities"].elements();
    if (!outputs.empty()) model.completesText = isAmong(outputs, "text") ? model.completesText : false;
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

namespace pellora::ServerError {

namespace {

// As many bytes in a row are taken for a part of the question wherever they occur in it.
constexpr std::size_t kTellingBytes = 12;

// The statuses with which servers refuse a question for what it says; all others are about the server.
constexpr std::array kAboutTheQuestion = {400, 413, 414, 422};

// Messages about a model that cannot be asked now, in lower case: whatever the status, the server is at fault.
constexpr std::array<std::string_view, 6> kModelIsMissing = {"not loaded",     "no models loaded", "unloaded",
                                                             "failed to load", "has crashed",      "not found"};

// The beginning of the message about an answer that the server could not take apart: whatever the status, it is about
// this answer.
constexpr std::string_view kUnexpectedAnswer = "The model produced output";

// Errors come as a string, as an object with a message, or as the framework's own form.
std::string messageIn(const JsonValue& answer) {
  for (const JsonValue* place : {&answer["error"], &answer["error"]["message"], &answer["message"], &answer["detail"]})
    if (!place->text().empty()) return place->text();
  return {};
}

JsonValue parsed(std::string_view body) {
  return JsonValue::parse(body).value_or(JsonValue());
}

// On one line, short, and plain ASCII, so that nothing in it can steer a terminal or turn the line around.
std::string readable(std::string_view message) {
  std::string line;
  for (const char byte : message) {
    const bool isContinuation = (byte & 0xC0) == 0x80;
    if (!isContinuation) line += (byte & 0x80) != 0 ? '?' : byte < ' ' || byte == '\x7F' ? ' ' : byte;
    if (line.size() > kLongestMessage) return line.substr(0, kLongestMessage) + "...";
  }
  return std::string(text::trimmed(line));
}

// Whether the message repeats a part of `text`: some bytes in a row, or a word that it puts in quotes.
bool repeats(std::string_view message, std::string_view text) {
  for (std::size_t at = 0; at + kTellingBytes <= message.size(); ++at)
    if (text.find(message.substr(at, kTellingBytes)) != std::string_view::npos) return true;
  for (const char quote : {'"', '\'', '`'}) {
    std::size_t opening = message.find(quote);
    while (opening != std::string_view::npos) {
      const std::size_t closing = message.find(quote, opening + 1);
      if (closing == std::string_view::npos) break;
      const std::string_view quoted = message.substr(opening + 1, closing - opening - 1);
      if (quoted.size() > 2 && text.find(quoted) != std::string_view::npos) return true;
      opening = closing;
    }
  }
  return false;
}

// What an error is about, by its status and by its message as far as that is the server's own.
LanguageModelError::Reason reasonOf(int status, const std::string& message) {
  using Reason = LanguageModelError::Reason;
  const std::string lower = text::lowercased(message);
  const bool isModelMissing = lower.find("model") != std::string::npos &&
                              std::any_of(kModelIsMissing.begin(), kModelIsMissing.end(), [&](std::string_view words) {
                                return lower.find(words) != std::string::npos;
                              });
  if (isModelMissing) return Reason::server;
  if (message.starts_with(kUnexpectedAnswer)) return Reason::question;
  const bool isAboutTheQuestion =
      std::find(kAboutTheQuestion.begin(), kAboutTheQuestion.end(), status) != kAboutTheQuestion.end();
  return isAboutTheQuestion ? Reason::question : Reason::server;
}

std::string clauseWith(int status, const std::string& message) {
  const std::string answered = "answered " + std::to_string(status);
  return message.empty() ? answered : answered + " (" + message + ")";
}

}  // namespace

std::string clause(int status, std::string_view body) {
  return clauseWith(status, readable(messageIn(parsed(body))));
}

bool isContextOverflow(std::string_view body) {
  const JsonValue answer = parsed(body);
  const JsonValue& error = answer["error"];
  const std::string said =
      error.text() + error["type"].text() + error["code"].text() + error["message"].text() + answer["message"].text();
  return said.find("context") != std::string::npos || said.find("too long") != std::string::npos;
}

LanguageModelError toQuestion(int status, std::string_view body, const ModelQuestion& question) {
  using Reason = LanguageModelError::Reason;
  if (status == 200) {
    const std::int64_t code = parsed(body)["error"]["code"].integer().value_or(0);
    status = code >= 400 && code < 600 ? static_cast<int>(code) : 400;
  }
  std::string message = readable(messageIn(parsed(body)));
  const bool mayHideText = message.find('\\') != std::string::npos || repeats(message, question.prompt) ||
                           repeats(message, question.instructions);
  if (mayHideText) message.clear();
  const Reason reason = reasonOf(status, message);
  if (reason == Reason::question && isContextOverflow(body))
    return {reason, "answered " + std::to_string(status) + " (the question is longer than the model's context)"};
  return {reason, clauseWith(status, message)};
}

}  // namespace pellora::ServerError
