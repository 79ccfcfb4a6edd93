// Ollama's own dialect. Its chat-completions imitation cuts long prompts silently to a default context of 4096
// tokens; `POST /api/chat` takes the context size, takes the schema as `format`, and can be told not to cut. Other
// servers imitate parts of this dialect and ignore the schema there, so one page does not make an Ollama.
// Readers are total; errors are LanguageModelError and quote nothing. Pure functions, callable from any thread.
// Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Adapters/Linux/Model/ModelChoice.h"
#include "Adapters/Linux/Model/ModelQuestion.h"

namespace pellora {

namespace OllamaProtocol {

inline constexpr const char* kVersionPath = "/api/version";
inline constexpr const char* kTagsPath = "/api/tags";
inline constexpr const char* kRunningPath = "/api/ps";
inline constexpr const char* kShowPath = "/api/show";
inline constexpr const char* kChatPath = "/api/chat";

// A page of LocalAI's, which answers all of the above as well; Ollama has none there.
inline constexpr const char* kImitatorsPath = "/readyz";

// Whether this is an answer to kVersionPath.
bool isVersion(std::string_view body);

// Adds what kTagsPath's answer says: where each model runs and what it can do. False when it is not such a list or
// lists none of them.
bool addTags(std::string_view body, std::vector<ListedModel>& models);

// Adds what kRunningPath's answer says: which models are loaded, with which context.
void addRunning(std::string_view body, std::vector<ListedModel>& models);

std::string showBody(const std::string& model);

// Adds what kShowPath's answer says about this model.
void addFacts(std::string_view body, ListedModel& model);

// How many tokens of context to ask for. Another number than before makes the server load the model again, so it is
// the same for all questions but the longest. `trained` bounds it.
std::int64_t contextFor(const ModelQuestion& question, std::optional<std::int64_t> trained);

// The one asked for in all usual questions.
std::int64_t usualContext(std::optional<std::int64_t> trained);

std::string requestBody(const ModelQuestion& question, std::int64_t contextTokens);
LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question);

}  // namespace OllamaProtocol

}  // namespace pellora
