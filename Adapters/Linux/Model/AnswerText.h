// What of a model's output is the answer: models that think do so in front of it, in tags or in a field of its own.
// Pure functions. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

namespace AnswerText {

// Without "<think>…</think>" and the white space around it. Thinking that was opened before the output begins (only
// the closing tag is there) or never closed is dropped as well.
std::string withoutThinking(std::string_view content);

// The answer out of `content` and, for a guided question whose content is empty, a JSON object in `thinking`: some
// servers file the whole output there. Throws LanguageModelError when there is no answer.
std::string choose(std::string_view content, std::string_view thinking, bool isGuided);

// Throws LanguageModelError unless the model ended the answer by itself. Empty: the server does not say.
void requireEnd(const std::string& finishReason);

// What is thrown for a body that is no answer, and for a question that the server read only in part.
LanguageModelError unreadable();
LanguageModelError cutPrompt();

}  // namespace AnswerText

}  // namespace pellora
