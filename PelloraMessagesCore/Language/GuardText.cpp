#include "PelloraMessagesCore/Language/GuardText.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::GuardText {

namespace {

// The pair first, so that it becomes one space.
constexpr auto kLineBreaks =
    std::to_array<std::string_view>({"\r\n", "\n", "\r", "\v", "\f", "\u0085", "\u2028", "\u2029"});

// A browser reads both as "." in a host name; compatibility folding leaves the first one as it is.
constexpr UChar32 kIdeographicFullStop = 0x3002;
constexpr UChar32 kHalfWidthFullStop = 0xFF61;

// Lower case, without the last full stop. None is an English word that ends sentences.
constexpr auto kAbbreviations =
    std::to_array<std::string_view>({"mr",   "mrs", "ms",     "mx",   "dr",  "prof", "rev",  "st",  "ste", "mt",   "ft",
                                     "jr",   "sr",  "sgt",    "capt", "lt",  "gov",  "dept", "inc", "ltd", "corp", "co",
                                     "bros", "vs",  "approx", "feb",  "aug", "sept", "oct",  "nov", "dec", "ph.d"});
constexpr std::size_t kLongestAbbreviation = 32;  // bytes, with dots, brackets and quotes around it

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The text between the spaces around `offset`; empty when it is too long for an abbreviation.
std::string_view wordAround(std::string_view text, std::size_t offset) {
  std::size_t begin = offset;
  while (begin > 0 && offset - begin < kLongestAbbreviation && text[begin - 1] != ' ') --begin;
  std::size_t end = offset;
  while (end < text.size() && end - begin < kLongestAbbreviation && text[end] != ' ') ++end;
  return end - begin < kLongestAbbreviation ? text.substr(begin, end - begin) : std::string_view();
}

bool isAbbreviation(std::string_view word) {
  return std::find(kAbbreviations.begin(), kAbbreviations.end(), text::lowercased(word)) != kAbbreviations.end();
}

// "a.m", "U.S", "J.-P": single letters with full stops between them.
bool isDottedLetters(std::string_view word) {
  std::size_t letters = 0;
  std::size_t stops = 0;
  bool isAfterLetter = false;
  for (const std::string_view character : text::characters(word)) {
    const bool isLetter = text::isLetterCharacter(character);
    if (isLetter ? isAfterLetter : character != "." && character != "-") return false;
    letters += isLetter ? 1 : 0;
    stops += character == "." ? 1 : 0;
    isAfterLetter = isLetter;
  }
  return letters > 1 && stops > 0;
}

bool isInitial(std::string_view word) {
  return text::isUppercaseCharacter(word) && text::isLetterCharacter(word) && text::characterCount(word) == 1;
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

std::string onOneLine(std::string_view text) {
  std::string result = text::repairedUtf8(text);
  if (text::isAscii(result) && result.find_first_of("\n\r\v\f") == std::string::npos) return result;
  for (const std::string_view lineBreak : kLineBreaks) result = text::replacingAll(result, lineBreak, " ");
  return result;
}

std::string withoutDisguise(std::string_view text) {
  if (text::isAscii(text)) return text::lowercased(text);
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* folding = icu::Normalizer2::getNFKCCasefoldInstance(status);
  if (U_FAILURE(status)) return text::lowercased(text);
  // Scalar by scalar: marks need not be put in order, which takes time by the square of their number.
  icu::UnicodeString result;
  icu::UnicodeString plain;
  const auto original =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
  for (std::int32_t place = 0; place < original.length(); place = original.moveIndex32(place, 1)) {
    const UChar32 scalar = original.char32At(place);
    if (scalar == kIdeographicFullStop || scalar == kHalfWidthFullStop)
      result.append(u'.');
    else if (folding->getDecomposition(scalar, plain))
      result.append(plain);
    else
      result.append(scalar);
  }
  std::string utf8;
  return result.toUTF8String(utf8);
}

bool isFullStopOfAbbreviation(std::string_view text, std::size_t mark) {
  const std::string_view around = wordAround(text, mark);
  if (around.empty() || text[mark] != '.') return false;
  const char* stop = text.data() + mark;
  // Directly after the word, so not the last of several stops in a row.
  const std::string_view before = around.substr(0, static_cast<std::size_t>(stop - around.data()));
  const std::string_view left = text::trimmedOfPunctuation(before);
  if (!left.empty() && left.data() + left.size() == stop && (isAbbreviation(left) || isInitial(left))) return true;
  const std::string_view whole = text::trimmedOfPunctuation(around);
  return stop <= whole.data() + whole.size() && (isDottedLetters(whole) || isAbbreviation(whole));
}

bool isWholeCharacter(std::string_view text, std::size_t offset) {
  // Whether an ASCII character joins its neighbors is decided by one scalar on either side.
  std::size_t begin = offset;
  if (begin > 0) --begin;
  while (begin > 0 && isContinuation(text[begin])) --begin;
  std::size_t end = std::min(text.size(), offset + 2);
  while (end < text.size() && isContinuation(text[end])) ++end;
  const std::string_view neighborhood = text.substr(begin, end - begin);
  for (const std::string_view character : text::characters(neighborhood))
    if (character.data() == text.data() + offset) return character.size() == 1;
  return false;
}

bool isLongerThan(std::string_view text, std::size_t count) {
  return !text::droppingFirst(text, count).empty();
}

}  // namespace pellora::GuardText
