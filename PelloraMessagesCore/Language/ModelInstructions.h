// The instructions for the language model: one fixed text per question, with the person's name in it, and the
// words that end each prompt. Tested by Tests/Core/MessagesModelTests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace pellora {

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
