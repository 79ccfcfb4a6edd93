#include "PelloraMessagesCore/Language/PromptLines.h"

#include <algorithm>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::PromptLines {

namespace {

constexpr std::size_t kBudget = 6000;          // characters of message text
constexpr std::size_t kNumberedOverhead = 12;  // characters that a numbered line is charged in addition to its text

constexpr std::string_view kOpening = "<messages>\n";

// Keeps lines from the newest on. `form` makes a line for the prompt, `cost` says what it takes of the budget.
template <class Form, class Cost>
auto newest(const std::vector<MessageLine>& lines, Form form, Cost cost) {
  std::vector<decltype(form(MessageLine()))> kept;
  std::size_t spent = 0;
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    const MessageLine safe{line->fromMe, harmless(line->text)};
    const std::size_t length = text::characterCount(safe.text);
    if (!kept.empty() && spent + length > kBudget) break;
    kept.push_back(form(safe));
    spent += cost(kept.back(), length);
  }
  std::reverse(kept.begin(), kept.end());
  return kept;
}

std::string block(const std::vector<std::string>& lines) {
  std::string result(kOpening);
  for (std::size_t place = 0; place < lines.size(); ++place) result += (place == 0 ? "" : "\n") + lines[place];
  return result;
}

}  // namespace

std::string harmless(std::string_view text) {
  const std::string result = text::replacingAll(GuardText::onOneLine(text), "<", "\u2039");
  return text::replacingAll(result, ">", "\u203A");
}

std::vector<MessageLine> kept(const std::vector<MessageLine>& lines) {
  return newest(
      lines, [](const MessageLine& line) { return line; },
      [](const MessageLine&, std::size_t length) { return length + kNumberedOverhead; });
}

std::string numberedBlock(const std::vector<MessageLine>& keptLines, std::string_view firstName) {
  std::vector<std::string> lines;
  for (const MessageLine& line : keptLines) {
    const std::string speaker = line.fromMe ? "Me" : text::repairedUtf8(firstName);
    lines.push_back("[" + std::to_string(lines.size() + 1) + "] " + speaker + ": " + line.text);
  }
  return block(lines);
}

std::string spokenBlock(const std::vector<MessageLine>& lines, std::string_view name) {
  return block(newest(
      lines,
      [name](const MessageLine& line) { return (line.fromMe ? "You" : text::repairedUtf8(name)) + ": " + line.text; },
      [](const std::string& line, std::size_t) { return text::characterCount(line); }));
}

}  // namespace pellora::PromptLines
