// Ollama's own dialect. Its chat-completions imitation cuts long prompts silently to a default context of 4096
// tokens; `POST /api/chat` takes the context size, takes the schema as `format`, and can be told not to cut.
// Readers are total; errors are LanguageModelError and quote nothing. Pure functions.
// Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Adapters/Linux/Model/ModelQuestion.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

namespace OllamaProtocol {

inline constexpr const char* kVersionPath = "/api/version";
inline constexpr const char* kTagsPath = "/api/tags";
inline constexpr const char* kShowPath = "/api/show";
inline constexpr const char* kChatPath = "/api/chat";

// Whether this is Ollama's answer to kVersionPath.
bool isVersion(std::string_view body);

// What it knows about one model.
struct KnownModel {
  bool isRemote = false;  // forwarded to another machine
  std::optional<long long> contextTokens;
};

// Out of kTagsPath's answer; absent when the model is not among them.
std::optional<KnownModel> fromTags(std::string_view body, const std::string& model);

std::string showBody(const std::string& model);
std::optional<KnownModel> fromShow(std::string_view body);

// How many tokens of context to ask for. Another number than before makes the server load the model again, so it is
// the same for all questions but the longest.
long long contextFor(const ModelQuestion& question, std::optional<long long> modelLimit);

std::string requestBody(const ModelQuestion& question, long long contextTokens);
LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question);

}  // namespace OllamaProtocol

}  // namespace pellora
