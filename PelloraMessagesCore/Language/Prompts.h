// Prompts for the language model: the lines of a conversation as a prompt holds them, and the fixed texts around them.
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

// The instructions for the language model: one fixed text per question, with the person's name in it, and the
// words that end each prompt. Tested by Tests/Core/MessagesModelTests.cpp.
namespace ModelInstructions {

std::string daySentence(std::string_view name);
std::string meetups(std::string_view name);
std::string news(std::string_view name);
std::string lately(std::string_view name);

inline constexpr std::string_view kDaySentenceEnding = "\n</messages>\n\nWrite the sentence now.";
inline constexpr std::string_view kMeetupsEnding = "\n</messages>\n\nList the times now.";
std::string newsEnding(std::string_view name);

inline constexpr std::string_view kLatelyOpening = "<days>\n";
inline constexpr std::string_view kLatelyEnding = "\n</days>\n\nWrite the summary now.";

}  // namespace ModelInstructions

}  // namespace pellora
