// One question as it goes to a model server, whatever dialect the server speaks, and what of the server's output is
// the answer to it. Models that think do so in front of the answer, in tags or in a field of its own.
// Pure functions, callable from any thread. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora {

// The longest answer, in tokens: the bound that ends a small model which repeats itself forever.
inline constexpr int kMaximumAnswerTokens = 1024;

struct ModelQuestion {
  std::string model;
  std::string instructions;
  std::string prompt;
  const GenerationSchema* schema = nullptr;  // of the answer; null for a plain question

  bool isGuided() const { return schema != nullptr; }

  // The instructions; for a guided question the schema follows, since small models keep to it better when they have
  // read it too.
  std::string systemMessage() const;

  // System message and prompt as the two messages of a chat.
  JsonValue messages() const;
};

namespace ModelAnswer {

// The longest text that is accepted as an answer, in bytes: several times what kMaximumAnswerTokens can hold.
inline constexpr std::size_t kLongestText = std::size_t{64} * 1024;

// Without "<think>…</think>" and the white space around it. Thinking that was opened before the output begins (only
// the closing tag is there) or never closed is dropped as well. Linear in the length.
std::string withoutThinking(std::string_view content);

// The answer out of `content` and, for a guided question whose content is empty, a JSON object in `thinking`: some
// servers put the whole output there. Throws LanguageModelError when there is no answer, and when the answer to a
// guided question does not match its schema.
std::string choose(std::string_view content, std::string_view thinking, const GenerationSchema* schema);

// Throws LanguageModelError unless the model ended the answer by itself. Empty: the server does not say.
void requireEnd(const std::string& finishReason);

// Throws LanguageModelError when a server that counts `promptTokens` cannot have read the whole question: fewer than
// this kind of text can make, or as many as fill a usual context to the last token. 0: the server does not count.
void requireWholePrompt(const ModelQuestion& question, std::int64_t promptTokens);

// Thrown for a body that is not an answer.
LanguageModelError unreadable();

// A count of tokens; 0 when the value is not one.
std::int64_t tokens(const JsonValue& value);

}  // namespace ModelAnswer

}  // namespace pellora
