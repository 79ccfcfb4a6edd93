// The chat-completions dialect that local model servers share, and their error answers. Readers are total: any bytes
// from a server give a value or a LanguageModelError whose text quotes nothing of the question or the answer. Pure
// functions, callable from any thread. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Adapters/Linux/Model/ModelChoice.h"
#include "Adapters/Linux/Model/ModelQuestion.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

// `POST /v1/chat/completions` and `GET /v1/models`, and the pages on which some servers tell more about their models.
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

// The context in use, in tokens, as llama.cpp's server reports it.
std::optional<std::int64_t> contextFromProperties(std::string_view body);

// Adds what LM Studio says about its models: what each is for, whether it is loaded, and with which context. False
// when the body is not such a list.
bool addDetails(std::string_view body, std::vector<ListedModel>& models);

}  // namespace ChatCompletionsProtocol

// The meaning of an error answer for the question, and its wording: "answered 500 (model requires more system memory)".
// Servers put anything into their error messages, parts of the question included, so a message is repeated only as far
// as it cannot be text of the question. The status alone does not tell what an error is about: some servers refuse a
// question as a bad request when the model is not in memory, and llama.cpp's answers 500 when the model's answer is not
// in the form that its template expects.
namespace ServerError {

// The longest part of a server's message that is repeated, in characters.
inline constexpr std::size_t kLongestMessage = 120;

// The error for an answer with another status than 200, or for a body of status 200 that holds an error.
LanguageModelError toQuestion(int status, std::string_view body, const ModelQuestion& question);

// The clause alone, for an answer to a request that holds no text of the user's.
std::string clause(int status, std::string_view body);

// Whether an error answer says that the question is longer than the model's context.
bool isContextOverflow(std::string_view body);

}  // namespace ServerError

}  // namespace pellora
