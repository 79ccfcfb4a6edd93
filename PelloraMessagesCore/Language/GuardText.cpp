#include "PelloraMessagesCore/Language/GuardText.h"

#include <algorithm>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::GuardText {

namespace {

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string prepared(std::string_view text) {
  const std::string lower = text::lowercased(text);
  std::string result = " ";
  result += text::isAscii(lower) ? lower : text::replacingAll(lower, "\u2019", "'");
  result += ' ';
  return result;
}

bool containsAny(std::string_view text, std::span<const std::string_view> phrases) {
  return std::any_of(phrases.begin(), phrases.end(),
                     [&](std::string_view phrase) { return text.find(phrase) != std::string_view::npos; });
}

bool isWholeCharacter(std::string_view text, std::size_t offset) {
  // Whether an ASCII character joins its neighbours is decided by one scalar on either side.
  std::size_t begin = offset;
  if (begin > 0) --begin;
  while (begin > 0 && isContinuation(text[begin])) --begin;
  std::size_t end = std::min(text.size(), offset + 2);
  while (end < text.size() && isContinuation(text[end])) ++end;
  const std::string_view neighbourhood = text.substr(begin, end - begin);
  for (const std::string_view character : text::characters(neighbourhood))
    if (character.data() == text.data() + offset) return character.size() == 1;
  return false;
}

bool isLongerThan(std::string_view text, std::size_t count) {
  return !text::droppingFirst(text, count).empty();
}

}  // namespace pellora::GuardText
