#include "Adapters/Linux/Model/ModelQuestion.h"

#include <algorithm>

#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using Reason = LanguageModelError::Reason;

constexpr std::string_view kOpening = "<think>";
constexpr std::string_view kClosing = "</think>";
constexpr std::string_view kBeforeSchema =
    "\n\nAnswer with one JSON object that follows this schema, and with nothing else:\n";

// Contexts are multiples of this many tokens, and none in use is smaller.
constexpr std::int64_t kContextStep = 1024;

// How many tokens a text makes. At least: ten plain letters, two characters of three bytes (Chinese, Japanese, Korean)
// or six of two bytes (Cyrillic, Greek, Arabic) per token, which no vocabulary exceeds in running text. Usually at
// most: three, one and two.
struct TokenBounds {
  std::int64_t least = 0;
  std::int64_t usual = 0;

  explicit TokenBounds(std::string_view text) {
    std::int64_t plain = 0;
    std::int64_t twoBytes = 0;
    std::int64_t moreBytes = 0;
    for (const char byte : text) {
      const auto value = static_cast<unsigned char>(byte);
      plain += value < 0x80 ? 1 : 0;
      twoBytes += value >= 0xC0 && value < 0xE0 ? 1 : 0;
      moreBytes += value >= 0xE0 ? 1 : 0;
    }
    least = plain / 10 + twoBytes / 6 + moreBytes / 2;
    usual = plain / 3 + twoBytes / 2 + moreBytes;
  }
};

}  // namespace

std::string ModelQuestion::systemMessage() const {
  return isGuided() ? instructions + std::string(kBeforeSchema) + schema->jsonSchema() : instructions;
}

JsonValue ModelQuestion::messages() const {
  JsonValue messages = JsonValue::array();
  messages.append(JsonValue::object({{"role", "system"}, {"content", systemMessage()}}));
  messages.append(JsonValue::object({{"role", "user"}, {"content", prompt}}));
  return messages;
}

std::string ModelAnswer::withoutThinking(std::string_view content) {
  std::string kept;
  std::size_t opening = content.find(kOpening);
  std::size_t closing = content.find(kClosing);
  std::size_t at = 0;
  while (true) {
    if (closing != std::string_view::npos && closing < opening) {
      kept.clear();  // everything up to here was thought
    } else {
      kept += content.substr(at, opening == std::string_view::npos ? opening : opening - at);
      if (opening == std::string_view::npos || closing == std::string_view::npos) break;
    }
    at = closing + kClosing.size();
    closing = content.find(kClosing, at);
    if (opening != std::string_view::npos && opening < at) opening = content.find(kOpening, at);
  }
  return std::string(text::trimmed(kept));
}

std::string ModelAnswer::choose(std::string_view content, std::string_view thinking, const GenerationSchema* schema) {
  std::string answer = withoutThinking(content);
  if (answer.empty() && schema != nullptr) {
    answer = withoutThinking(thinking);
    if (!answer.starts_with('{')) answer.clear();
  }
  if (answer.empty()) throw LanguageModelError(Reason::question, "gave an empty answer");
  if (answer.size() > kLongestText) throw LanguageModelError(Reason::question, "gave an answer that is too long");
  if (schema != nullptr && !GeneratedContent::decode(*schema, answer))
    throw LanguageModelError(Reason::question, "gave an answer that is not in the form asked for");
  return answer;
}

void ModelAnswer::requireEnd(const std::string& finishReason) {
  if (finishReason == "length") throw LanguageModelError(Reason::question, "gave an answer that was cut off");
  if (finishReason != "stop")
    throw LanguageModelError(Reason::question, "gave an answer that the model did not finish");
}

void ModelAnswer::requireWholePrompt(const ModelQuestion& question, std::int64_t promptTokens) {
  if (promptTokens < kContextStep) return;
  const TokenBounds bounds(question.systemMessage() + question.prompt);
  const bool fillsAContext = promptTokens % kContextStep == 0 && promptTokens < bounds.usual;
  if (promptTokens < bounds.least || fillsAContext)
    throw LanguageModelError(Reason::question, "read only a part of the question");
}

LanguageModelError ModelAnswer::unreadable() {
  return {Reason::question, "gave an answer that cannot be read"};
}

std::int64_t ModelAnswer::tokens(const JsonValue& value) {
  return std::max<std::int64_t>(value.integer().value_or(0), 0);
}

}  // namespace pellora
