#include "Adapters/Linux/Model/ServerError.h"

#include <algorithm>
#include <array>

#include "Adapters/Linux/Model/JsonReading.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::ServerError {

namespace {

using JsonReading::member;
using JsonReading::positive;
using JsonReading::textOf;
using nlohmann::json;

// As many bytes in a row are taken for a part of the question wherever they occur in it.
constexpr std::size_t kTellingBytes = 12;

// The statuses with which servers refuse a question for what it says; all others are about the server.
constexpr std::array kAboutTheQuestion = {400, 413, 414, 422};

// Errors come as a string, as an object with a message, or as the framework's own form.
std::string messageIn(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  const json& error = member(answer, "error");
  for (const std::string& text : {textOf(error), textOf(member(error, "message")), textOf(member(answer, "message")),
                                  textOf(member(answer, "detail"))})
    if (!text.empty()) return text;
  return {};
}

// On one line, short, and plain ASCII, so that nothing in it can steer a terminal or turn the line around.
std::string readable(std::string_view message) {
  std::string line;
  for (const char byte : message) {
    const bool isContinuation = (byte & 0xC0) == 0x80;
    if (!isContinuation) line += (byte & 0x80) != 0 ? '?' : byte < ' ' || byte == '\x7F' ? ' ' : byte;
    if (line.size() > kLongestMessage) return line.substr(0, kLongestMessage) + "...";
  }
  return std::string(text::trimmed(line));
}

// Whether the message repeats a part of `text`: some bytes in a row, or a word that it puts in quotes.
bool repeats(std::string_view message, std::string_view text) {
  for (std::size_t at = 0; at + kTellingBytes <= message.size(); ++at)
    if (text.find(message.substr(at, kTellingBytes)) != std::string_view::npos) return true;
  for (const char quote : {'"', '\'', '`'}) {
    std::size_t opening = message.find(quote);
    while (opening != std::string_view::npos) {
      const std::size_t closing = message.find(quote, opening + 1);
      if (closing == std::string_view::npos) break;
      const std::string_view quoted = message.substr(opening + 1, closing - opening - 1);
      if (quoted.size() > 2 && text.find(quoted) != std::string_view::npos) return true;
      opening = closing;
    }
  }
  return false;
}

std::string clauseWith(int status, const std::string& message) {
  const std::string answered = "answered " + std::to_string(status);
  return message.empty() ? answered : answered + " (" + message + ")";
}

}  // namespace

std::string clause(int status, std::string_view body) {
  return clauseWith(status, readable(messageIn(body)));
}

bool isContextOverflow(std::string_view body) {
  const json answer = json::parse(body, nullptr, false);
  const json& error = member(answer, "error");
  const std::string said = textOf(error) + textOf(member(error, "type")) + textOf(member(error, "code")) +
                           textOf(member(error, "message")) + textOf(member(answer, "message"));
  return said.find("context") != std::string::npos || said.find("too long") != std::string::npos;
}

LanguageModelError toQuestion(int status, std::string_view body, const ModelQuestion& question) {
  using Reason = LanguageModelError::Reason;
  if (status == 200) {
    const json answer = json::parse(body, nullptr, false);
    const auto code = positive(member(member(answer, "error"), "code"));
    status = code && *code >= 400 && *code < 600 ? static_cast<int>(*code) : 400;
  }
  const bool isAboutTheQuestion =
      std::find(kAboutTheQuestion.begin(), kAboutTheQuestion.end(), status) != kAboutTheQuestion.end();
  const Reason reason = isAboutTheQuestion ? Reason::question : Reason::server;
  if (isAboutTheQuestion && isContextOverflow(body))
    return {reason, "answered " + std::to_string(status) + " (the question is longer than the model's context)"};
  std::string message = readable(messageIn(body));
  const bool mayHideText = message.find('\\') != std::string::npos || repeats(message, question.prompt) ||
                           repeats(message, question.instructions);
  if (mayHideText) message.clear();
  return {reason, clauseWith(status, message)};
}

}  // namespace pellora::ServerError
