#include "Adapters/Linux/Model/AnswerText.h"

#include <nlohmann/json.hpp>

#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::AnswerText {

namespace {

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
  throw LanguageModelError("The model gave an empty answer.");
}

}  // namespace pellora::AnswerText
