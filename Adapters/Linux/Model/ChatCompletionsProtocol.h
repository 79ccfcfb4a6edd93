// The chat-completions dialect that local model servers share: `POST /v1/chat/completions` and `GET /v1/models`.
// Readers are total: whatever bytes a server answers with give a value or a LanguageModelError whose text quotes
// nothing of the question or the answer. Pure functions. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Adapters/Linux/Model/ModelQuestion.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

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

struct ListedModel {
  std::string id;
  std::optional<long long> contextTokens;  // what the server says that it serves
  std::optional<long long> trainedTokens;  // what the model was made for
};

// The models that the server lists, in its order; absent when the body is no such list.
std::optional<std::vector<ListedModel>> decodeModels(std::string_view body);

// The context size in tokens, where the server has a page of its own that tells it.
std::optional<long long> contextFromProperties(std::string_view body);
std::optional<long long> contextFromDetailedModels(std::string_view body, const std::string& model);

}  // namespace ChatCompletionsProtocol

}  // namespace pellora
