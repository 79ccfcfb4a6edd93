#include "PelloraMessagesCore/Text/Regex.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <stdexcept>

namespace pellora {

namespace {

// Steps of the engine before it gives a search up, and bytes of its stack: bounds for texts made to be slow.
constexpr std::int32_t kStepLimit = 2000;
constexpr std::int32_t kStackBytes = 8'000'000;

icu::UnicodeString utf16(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

}  // namespace

struct RegexText::Content {
  icu::UnicodeString text;
};

RegexText::RegexText(std::string_view text) : _content(new Content{utf16(text)}) {}
RegexText::~RegexText() = default;

struct Regex::Engine {
  std::unique_ptr<icu::RegexMatcher> matcher;
};

Regex::Regex(std::string_view pattern) : _engine(new Engine) {
  UErrorCode status = U_ZERO_ERROR;
  _engine->matcher = std::make_unique<icu::RegexMatcher>(utf16(pattern), 0, status);
  if (U_SUCCESS(status)) _engine->matcher->setTimeLimit(kStepLimit, status);
  if (U_SUCCESS(status)) _engine->matcher->setStackLimit(kStackBytes, status);
  if (U_FAILURE(status)) throw std::invalid_argument("Not a regular expression: " + std::string(pattern));
}

Regex::~Regex() = default;

bool Regex::matches(const RegexText& text) const {
  _engine->matcher->reset(text._content->text);
  UErrorCode status = U_ZERO_ERROR;
  return _engine->matcher->find(status) && U_SUCCESS(status);
}

bool Regex::matches(std::string_view text) const {
  return matches(RegexText(text));
}

std::optional<std::string> Regex::firstMatch(const RegexText& text, int group) const {
  if (!matches(text)) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  if (_engine->matcher->start(group, status) < 0 || U_FAILURE(status)) return std::nullopt;
  const icu::UnicodeString found = _engine->matcher->group(group, status);
  if (U_FAILURE(status)) return std::nullopt;
  std::string result;
  found.toUTF8String(result);
  return result;
}

std::optional<std::string> Regex::firstMatch(std::string_view text, int group) const {
  return firstMatch(RegexText(text), group);
}

}  // namespace pellora
