// The meaning of a model server's error answer for the question, and its wording: "answered 500 (model requires
// more system memory)". Servers put anything into their error messages, parts of the question included, so a message
// is repeated only as far as it cannot be text of the question. Pure functions.
// Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "Adapters/Linux/Model/ModelQuestion.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

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
