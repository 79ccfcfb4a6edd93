#include "Tests/ModelServer/ModelBehavior.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Tests/ModelServer/MadeUpAnswers.h"

namespace pellora::modelserver {

namespace {

using nlohmann::ordered_json;

std::string dumped(const ordered_json& value) {
  return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string messageOf(const ordered_json& body, const std::string& role) {
  for (const auto& message : body.value("messages", ordered_json::array())) {
    if (message.is_object() && message.value("role", "") == role) return message.value("content", "");
  }
  return {};
}

// Absent (null) for a plain question. A schema at any other place is ignored, as real servers do.
ordered_json schemaOf(const ordered_json& body) {
  if (body.contains("format") && body["format"].is_object()) return body["format"];
  const ordered_json format = body.value("response_format", ordered_json::object());
  if (format.value("type", "") != "json_schema") return nullptr;
  return format.value("json_schema", ordered_json::object()).value("schema", ordered_json());
}

bool isAmong(const std::string& name, const std::vector<std::string>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

struct Output {
  std::string content;
  std::string thinking;
};

Output withThinking(const std::string& answer, const std::string& form) {
  if (form == "tags") return {"<think>\nFirst I think about it.\n</think>\n\n" + answer, {}};
  if (form == "unopened") return {"I think about it.\n</think>\n" + answer, {}};
  if (form == "field") return {answer, "I think about it."};
  if (form == "only") return {{}, answer};
  return {answer, {}};
}

}  // namespace

ModelBehavior::ModelBehavior(ServerOptions options) : _options(std::move(options)) {
  std::ifstream file(_options.casesFile);
  for (std::string line; std::getline(file, line);) _cases.push_back(ordered_json::parse(line));
}

bool ModelBehavior::isLoading() {
  const auto passed = std::chrono::steady_clock::now() - _startedAt;
  if (passed < std::chrono::milliseconds(_options.loadingMilliseconds)) return true;
  return ++_asked <= _options.loadingRequests;
}

HttpResponse ModelBehavior::error(int status, const std::string& message, const std::string& type) const {
  HttpResponse response;
  response.status = status;
  if (_options.errorForm == "none") {
    response.body = "<html>no JSON here</html>";
  } else if (_options.errorForm == "string") {
    response.body = dumped({{"error", message}});
  } else {
    response.body = dumped({{"error", {{"code", status}, {"message", message}, {"type", type}}}});
  }
  return response;
}

HttpResponse ModelBehavior::answer(const HttpRequest& request) {
  if (request.path == _options.exitPage) std::_Exit(0);
  if (request.path == _options.brokenPage) {
    HttpResponse broken;
    broken.isBroken = true;
    return broken;
  }
  if (isLoading()) return error(503, "Loading model", "unavailable_error");
  if (!_options.key.empty() && request.authorization != "Bearer " + _options.key)
    return error(401, "Invalid API Key", "authentication_error");
  if (!_options.redirectTo.empty()) {
    HttpResponse response;
    response.status = 307;
    response.location = _options.redirectTo + request.path;
    return response;
  }
  const bool speaksOllama = _options.ollama || _options.imitator;
  const bool isQuestion = request.method == "POST" &&
                          (request.path == "/v1/chat/completions" || (speaksOllama && request.path == "/api/chat"));
  if (isQuestion) {
    HttpResponse response = answerQuestion(request);
    response.delayMilliseconds = _options.delayMilliseconds;
    response.cutAfter = _options.cutAfter;
    return response;
  }
  HttpResponse response = page(request.path);
  if (speaksOllama && request.path == "/api/show") response.status = 200, response.body = ollamaModel(request.body);
  response.delayMilliseconds = _options.listDelayMilliseconds;
  return response;
}

HttpResponse ModelBehavior::answerQuestion(const HttpRequest& request) {
  const ordered_json body = ordered_json::parse(request.body, nullptr, false);
  if (!body.is_object()) return error(500, "not JSON", "server_error");
  const int number = ++_questions;
  if (number <= _options.brokenQuestions) {
    HttpResponse broken;
    broken.isBroken = true;
    return broken;
  }
  const bool fails = _options.statusQuestions == 0 || number <= _options.statusQuestions;
  if (_options.status != 200 && fails) return error(_options.status, _options.errorMessage, "server_error");
  const std::string model = body.value("model", "");
  if (std::find(_options.models.begin(), _options.models.end(), model) == _options.models.end())
    return error(404, "model not found", "not_found_error");
  if (_options.router && !isAmong(model, _options.loadedModels))
    return error(400, "model is not loaded", "invalid_request_error");
  const auto isRefused = [&](const std::string& field) { return body.contains(field); };
  if (std::any_of(_options.rejectFields.begin(), _options.rejectFields.end(), isRefused))
    return error(_options.rejectStatus, "Unrecognized request argument", "invalid_request_error");
  const std::string instructions = messageOf(body, "system");
  const std::string prompt = messageOf(body, "user");
  const auto promptBytes = static_cast<int>(instructions.size() + prompt.size());
  if (_options.maximumPromptBytes > 0 && promptBytes > _options.maximumPromptBytes)
    return error(400, "the request exceeds the available context size", "exceed_context_size_error");

  HttpResponse response;
  response.body = _options.rawBody;
  response.isEndless = _options.endlessChunks;
  if (!response.body.empty() || response.isEndless) return response;
  // Imitators of Ollama ignore the schema in its dialect.
  const ordered_json schema = _options.imitator && request.path == "/api/chat" ? ordered_json() : schemaOf(body);
  std::string answer = schema.is_null() ? _options.answer : _options.guidedAnswer;
  if (_options.echo) answer = dumped({{"instructions", instructions}, {"prompt", prompt}});
  if (answer.empty()) answer = MadeUpAnswers::known(_cases, _options.manner == "perfect", dumped(schema), prompt);
  if (answer.empty())
    answer = schema.is_null() ? MadeUpAnswers::plain(instructions, prompt)
                              : MadeUpAnswers::guided(dumped(schema), instructions, prompt);
  const Output output = withThinking(answer, _options.thinking);
  ordered_json message{{"role", "assistant"}, {"content", output.content}};
  if (request.path == "/api/chat") {
    if (!output.thinking.empty()) message["thinking"] = output.thinking;
    ordered_json whole{{"model", model}, {"message", message}, {"done", true}, {"done_reason", _options.finishReason}};
    if (_options.promptTokens > 0) whole["prompt_eval_count"] = _options.promptTokens;
    if (_options.answerTokens > 0) whole["eval_count"] = _options.answerTokens;
    response.body = dumped(whole);
    return response;
  }
  if (!output.thinking.empty()) message["reasoning_content"] = output.thinking;
  ordered_json choice{{"index", 0}, {"message", message}, {"finish_reason", _options.finishReason}};
  ordered_json whole{{"object", "chat.completion"}, {"model", model}, {"choices", ordered_json::array({choice})}};
  if (_options.promptTokens > 0)
    whole["usage"] = {{"prompt_tokens", _options.promptTokens}, {"completion_tokens", _options.answerTokens}};
  if (_options.bodyBytes > 0) whole["padding"] = std::string(static_cast<std::size_t>(_options.bodyBytes), 'x');
  response.body = dumped(whole);
  return response;
}

HttpResponse ModelBehavior::page(const std::string& path) const {
  const bool speaksOllama = _options.ollama || _options.imitator;
  HttpResponse response;
  if (path == "/v1/models") {
    response.body = modelList();
  } else if (path == "/props" && _options.contextTokens > 0 && _options.contextStyle == "props") {
    response.body = dumped({{"default_generation_settings", {{"n_ctx", _options.contextTokens}}}});
  } else if (path == "/api/v0/models" && _options.contextTokens > 0 && _options.contextStyle == "detailed") {
    response.body = detailedModels();
  } else if (_options.imitator && path == "/readyz") {
    response.body = "OK";
  } else if (speaksOllama && path == "/api/ps") {
    response.body = runningModels();
  } else if (speaksOllama && path == "/api/version") {
    response.body = R"({"version":"0.13.0"})";
  } else if (speaksOllama && path == "/api/tags") {
    if (_options.tagsStatus != 200) return error(_options.tagsStatus, "no list", "server_error");
    response.body = ollamaTags();
  } else {
    return error(404, "not found", "not_found_error");
  }
  return response;
}

std::string ModelBehavior::detailedModels() const {
  ordered_json data = ordered_json::array();
  for (const std::string& name : _options.models) {
    const bool isLoaded = _options.loadedModels.empty() || isAmong(name, _options.loadedModels);
    ordered_json model{{"id", name},
                       {"type", isAmong(name, _options.embeddings) ? "embeddings" : "llm"},
                       {"state", isLoaded ? "loaded" : "not-loaded"},
                       {"max_context_length", 131072}};
    if (isLoaded) model["loaded_context_length"] = _options.contextTokens;
    data.push_back(std::move(model));
  }
  return dumped({{"data", data}});
}

std::string ModelBehavior::runningModels() const {
  ordered_json models = ordered_json::array();
  for (const std::string& name : _options.loadedModels) {
    ordered_json model{{"name", name}, {"model", name}};
    if (_options.contextTokens > 0) model["context_length"] = _options.contextTokens;
    models.push_back(std::move(model));
  }
  return dumped({{"models", models}});
}

std::string ModelBehavior::modelList() const {
  ordered_json data = ordered_json::array();
  for (const std::string& name : _options.models) {
    ordered_json model{{"id", name}, {"object", "model"}};
    if (_options.contextTokens > 0 && _options.contextStyle == "list") model["max_model_len"] = _options.contextTokens;
    if (_options.router) model["status"] = {{"value", isAmong(name, _options.loadedModels) ? "loaded" : "unloaded"}};
    data.push_back(std::move(model));
  }
  return dumped({{"object", "list"}, {"data", data}});
}

std::string ModelBehavior::ollamaTags() const {
  ordered_json models = ordered_json::array();
  for (const std::string& name : _options.models) {
    ordered_json model{{"name", name},
                       {"model", name},
                       {"digest", std::string(64, '0')},
                       {"capabilities", {isAmong(name, _options.embeddings) ? "embedding" : "completion"}}};
    if (isAmong(name, _options.remoteModels))
      model["remote_host"] = "https://elsewhere.invalid:443", model["remote_model"] = name;
    models.push_back(std::move(model));
  }
  return dumped({{"models", models}});
}

std::string ModelBehavior::ollamaModel(const std::string& body) const {
  const ordered_json asked = ordered_json::parse(body, nullptr, false);
  ordered_json model{{"details", {{"family", "test"}}}};
  if (_options.contextTokens > 0) model["model_info"] = {{"test.context_length", _options.contextTokens}};
  if (asked.is_object() && isAmong(asked.value("model", ""), _options.remoteModels))
    model["remote_host"] = "https://elsewhere.invalid:443";
  return dumped(model);
}

}  // namespace pellora::modelserver
