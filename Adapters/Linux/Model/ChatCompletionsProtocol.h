// The chat-completions dialect that local model servers share: `POST /v1/chat/completions` and `GET /v1/models`, and
// the pages on which some of them tell more about their models.
// Readers are total: whatever bytes a server answers with give a value or a LanguageModelError whose text quotes
// nothing of the question or the answer. Pure functions, callable from any thread.
// Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Adapters/Linux/Model/ModelChoice.h"
#include "Adapters/Linux/Model/ModelQuestion.h"

namespace pellora {

namespace ChatCompletionsProtocol {

inline constexpr const char* kChatPath = "/v1/chat/completions";
inline constexpr const char* kModelsPath = "/v1/models";
inline constexpr const char* kPropertiesPath = "/props";              // llama.cpp's server
inline constexpr const char* kDetailedModelsPath = "/api/v0/models";  // LM Studio

// How the request asks for no thinking. There are two ways, no server knows both, and a few refuse fields or values
// that they have not heard of.
enum class Extras { both, templateOnly, none };

std::string requestBody(const ModelQuestion& question, Extras extras);

// Throws LanguageModelError unless the answer is there, whole and ended by the model itself.
LanguageModel::Answer decodeAnswer(std::string_view body, const ModelQuestion& question);

// The models that the server lists, in its order; absent when the body is not such a list.
std::optional<std::vector<ListedModel>> decodeModels(std::string_view body);

// The context in use, in tokens, as llama.cpp's server tells it.
std::optional<std::int64_t> contextFromProperties(std::string_view body);

// Adds what LM Studio tells about its models: what each is for, whether it is loaded, and with which context. False
// when the body is not such a list.
bool addDetails(std::string_view body, std::vector<ListedModel>& models);

}  // namespace ChatCompletionsProtocol

}  // namespace pellora
