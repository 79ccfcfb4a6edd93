// The lines of a conversation, and how a prompt holds them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pellora {

// One message as the language work and the birthday finder see it: who wrote it and what.
struct MessageLine {
  bool fromMe = false;
  std::string text;

  bool operator==(const MessageLine&) const = default;
};

// A day's lines as a prompt holds them: texts that cannot close the prompt's tags or begin a line of their own, the
// newest that fit the budget, oldest first. Pure. Tested by Tests/Core/PromptLinesTests.cpp.
namespace PromptLines {

// Without line breaks and angle brackets; valid UTF-8 whatever comes in.
std::string harmless(std::string_view text);

// The lines kept for a numbered prompt, with their texts made harmless. The newest is always among them.
std::vector<MessageLine> kept(const std::vector<MessageLine>& lines);

// The beginning of a prompt over kept lines: "<messages>", then "[1] Me: text", "[2] Sam: text", ...
std::string numberedBlock(const std::vector<MessageLine>& keptLines, std::string_view firstName);

// The beginning of a prompt over a day's lines: "<messages>", then "You: text", "Sam: text", ... of those that fit.
std::string spokenBlock(const std::vector<MessageLine>& lines, std::string_view name);

}  // namespace PromptLines

}  // namespace pellora
