// One question as it goes to a model server, whatever dialect the server speaks.
#pragma once

#include <string>

namespace pellora {

struct ModelQuestion {
  std::string model;
  std::string instructions;
  std::string prompt;
  std::string schemaName;  // empty for a plain question
  std::string schemaText;  // one line of JSON; empty for a plain question

  bool isGuided() const { return !schemaText.empty(); }

  // The instructions; for a guided question the schema follows, since small models keep to it better when they have
  // read it too.
  std::string systemMessage() const {
    if (!isGuided()) return instructions;
    return instructions + "\n\nAnswer with one JSON object that follows this schema, and with nothing else:\n" +
           schemaText;
  }
};

// The longest answer, in tokens: what ends a small model that repeats itself forever.
inline constexpr int kMaximumAnswerTokens = 1024;

}  // namespace pellora
