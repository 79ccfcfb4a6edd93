// What the server answers to a request: the chat-completions dialect, Ollama's, and the pages on which servers of
// several makes tell about themselves, bent by the options. Called from several threads at once.
#pragma once

#include <atomic>
#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

#include "Tests/ModelServer/HttpConnection.h"
#include "Tests/ModelServer/ServerOptions.h"

namespace pellora::modelserver {

class ModelBehavior {
 public:
  explicit ModelBehavior(ServerOptions options);

  HttpResponse answer(const HttpRequest& request);

 private:
  bool isLoading();
  HttpResponse answerQuestion(const HttpRequest& request);
  HttpResponse page(const std::string& path) const;
  HttpResponse error(int status, const std::string& message, const std::string& type) const;
  std::string modelList() const;
  std::string ollamaTags() const;
  std::string runningModels() const;
  std::string detailedModels() const;
  std::string ollamaModel(const std::string& body) const;

  ServerOptions _options;
  nlohmann::ordered_json _cases = nlohmann::ordered_json::array();
  std::atomic<int> _asked{0};
  std::atomic<int> _questions{0};
  std::chrono::steady_clock::time_point _startedAt = std::chrono::steady_clock::now();
};

}  // namespace pellora::modelserver
