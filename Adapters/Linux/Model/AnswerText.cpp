#include "Adapters/Linux/Model/AnswerText.h"

#include <nlohmann/json.hpp>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::AnswerText {

namespace {

using Reason = LanguageModelError::Reason;

constexpr std::string_view kOpening = "<think>";
constexpr std::string_view kClosing = "</think>";

}  // namespace

std::string withoutThinking(std::string_view content) {
  std::string kept;
  while (true) {
    const std::size_t opening = content.find(kOpening);
    const std::size_t closing = content.find(kClosing);
    if (closing != std::string_view::npos && closing < opening) {
      kept.clear();  // everything up to here was thought
      content.remove_prefix(closing + kClosing.size());
      continue;
    }
    kept += content.substr(0, opening);
    if (opening == std::string_view::npos || closing == std::string_view::npos) break;
    content.remove_prefix(closing + kClosing.size());
  }
  return std::string(text::trimmed(kept));
}

std::string choose(std::string_view content, std::string_view thinking, bool isGuided) {
  std::string answer = withoutThinking(content);
  if (!answer.empty()) return answer;
  if (isGuided) {
    answer = withoutThinking(thinking);
    if (nlohmann::json::parse(answer, nullptr, false).is_object()) return answer;
  }
  throw LanguageModelError(Reason::question, "gave an empty answer");
}

void requireEnd(const std::string& finishReason) {
  if (finishReason == "length") throw LanguageModelError(Reason::question, "gave an answer that was cut off");
  if (finishReason != "stop") throw LanguageModelError(Reason::question, "gave an answer that the model did not end");
}

LanguageModelError unreadable() {
  return {Reason::question, "gave an answer that cannot be read"};
}

LanguageModelError cutPrompt() {
  return {Reason::question, "read only a part of the question"};
}

}  // namespace pellora::AnswerText
