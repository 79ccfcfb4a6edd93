#include "PelloraMessagesCore/Text/Text.h"

#include <unicode/brkiter.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace pellora::text {

namespace {

constexpr UChar32 kZeroWidthSpace = 0x200B;
constexpr UChar32 kInvalid = -1;

// Putting marks in their canonical order takes quadratic time in their number. No script stacks this many: a text that
// does was made to be slow, and keeps the order in which it was written.
constexpr std::size_t kMostOrderedMarks = 128;

std::int32_t length32(std::string_view text) {
  return static_cast<std::int32_t>(text.size());
}

// A scalar and the bytes it takes; kInvalid for a byte that begins none.
struct Decoded {
  UChar32 scalar = kInvalid;
  std::size_t size = 0;
};

Decoded decodeFirst(std::string_view text) {
  std::int32_t position = 0;
  UChar32 scalar = kInvalid;
  U8_NEXT(text.data(), position, length32(text), scalar);
  return {scalar, static_cast<std::size_t>(position)};
}

Decoded decodeLast(std::string_view text) {
  std::int32_t position = length32(text);
  UChar32 scalar = kInvalid;
  U8_PREV(text.data(), 0, position, scalar);
  return {scalar, text.size() - static_cast<std::size_t>(position)};
}

template <class Predicate>
std::string_view trimmedWhere(std::string_view text, Predicate isTrimmed) {
  while (!text.empty()) {
    const Decoded first = decodeFirst(text);
    if (!isTrimmed(first.scalar)) break;
    text.remove_prefix(first.size);
  }
  while (!text.empty()) {
    const Decoded last = decodeLast(text);
    if (!isTrimmed(last.scalar)) break;
    text.remove_suffix(last.size);
  }
  return text;
}

bool isSpace(UChar32 scalar) {
  if (scalar >= 0 && scalar < 0x80) return scalar == ' ' || (scalar >= '\t' && scalar <= '\r');
  return scalar == kZeroWidthSpace || (scalar != kInvalid && u_hasBinaryProperty(scalar, UCHAR_WHITE_SPACE));
}

bool isPunctuation(UChar32 scalar) {
  return scalar != kInvalid && (U_GET_GC_MASK(scalar) & U_GC_P_MASK) != 0;
}

// True when every character is one byte: ASCII without CR, which may pair with LF.
bool isOneByteACharacter(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80 && byte != '\r'; });
}

// Calls `visit(begin, end)` with the byte offsets of every character; stops when it returns false.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
  if (isOneByteACharacter(text)) {
    for (std::size_t position = 0; position < text.size(); ++position)
      if (!visit(position, position + 1)) return;
    return;
  }
  UErrorCode status = U_ZERO_ERROR;
  thread_local const std::unique_ptr<icu::BreakIterator> iterator(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (!iterator) throw std::runtime_error("The character rules of the text library are missing");
  UText input = UTEXT_INITIALIZER;
  utext_openUTF8(&input, text.data(), static_cast<std::int64_t>(text.size()), &status);
  iterator->setText(&input, status);
  std::int32_t begin = iterator->first();
  for (std::int32_t end = iterator->next(); end != icu::BreakIterator::DONE; begin = end, end = iterator->next())
    if (!visit(static_cast<std::size_t>(begin), static_cast<std::size_t>(end))) break;
  // The iterator keeps a clone of the input; give it an empty one so that it never looks at freed memory.
  UText nothing = UTEXT_INITIALIZER;
  status = U_ZERO_ERROR;
  utext_openUTF8(&nothing, "", 0, &status);
  iterator->setText(&nothing, status);
  utext_close(&nothing);
  utext_close(&input);
}

const icu::Normalizer2& decomposer() {
  UErrorCode status = U_ZERO_ERROR;
  return *icu::Normalizer2::getNFDInstance(status);
}

// A text folded for comparison, with the places where its characters begin and end in both forms. Places are in
// ascending order; the last one is the end of the text.
struct Folded {
  std::u16string text;
  std::vector<std::size_t> foldedPlaces;
  std::vector<std::size_t> originalPlaces;

  // The original offset of a folded one; absent inside a character.
  std::optional<std::size_t> original(std::size_t foldedOffset) const {
    const auto place = std::lower_bound(foldedPlaces.begin(), foldedPlaces.end(), foldedOffset);
    if (place == foldedPlaces.end() || *place != foldedOffset) return std::nullopt;
    return originalPlaces[static_cast<std::size_t>(place - foldedPlaces.begin())];
  }
};

void appendFolded(std::string_view character, std::u16string& result) {
  if (character.size() == 1 && static_cast<unsigned char>(character[0]) < 0x80) {
    result += static_cast<char16_t>(u_tolower(character[0]));
    return;
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString folded = icu::UnicodeString::fromUTF8(icu::StringPiece(character.data(), length32(character)));
  const bool isOrdered = static_cast<std::size_t>(folded.length()) <= kMostOrderedMarks;
  if (isOrdered) folded = decomposer().normalize(folded, status);
  folded.foldCase();
  if (isOrdered) folded = decomposer().normalize(folded, status);
  result.append(folded.getBuffer(), static_cast<std::size_t>(folded.length()));
}

Folded fold(std::string_view text) {
  Folded result;
  result.text.reserve(text.size());
  forEachCharacter(text, [&](std::size_t begin, std::size_t end) {
    result.foldedPlaces.push_back(result.text.size());
    result.originalPlaces.push_back(begin);
    appendFolded(text.substr(begin, end - begin), result.text);
    return true;
  });
  result.foldedPlaces.push_back(result.text.size());
  result.originalPlaces.push_back(text.size());
  return result;
}

// Whether there are more marks in a row than are put in order.
bool stacksMarks(std::string_view text) {
  std::size_t run = 0;
  while (!text.empty() && run <= kMostOrderedMarks) {
    const Decoded first = decodeFirst(text);
    run = first.scalar != kInvalid && u_getCombiningClass(first.scalar) != 0 ? run + 1 : 0;
    text.remove_prefix(first.size);
  }
  return run > kMostOrderedMarks;
}

}  // namespace

bool isAscii(std::string_view text) {
  // Eight bytes at a time: this comes before every costlier look at a text.
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t seen = 0;
  while (text.size() >= sizeof seen) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), sizeof word);
    if ((word & kHighBits) != 0) return false;
    text.remove_prefix(sizeof word);
  }
  for (const char byte : text) seen |= static_cast<unsigned char>(byte);
  return (seen & kHighBits) == 0;
}

bool isValidUtf8(std::string_view text) {
  if (isAscii(text)) return true;
  while (!text.empty()) {
    const Decoded first = decodeFirst(text);
    if (first.scalar < 0) return false;
    text.remove_prefix(first.size);
  }
  return true;
}

std::string repairedUtf8(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  while (!bytes.empty()) {
    const Decoded first = decodeFirst(bytes);
    if (first.scalar < 0)
      result += "\xEF\xBF\xBD";
    else
      result += bytes.substr(0, first.size);
    bytes.remove_prefix(first.size);
  }
  return result;
}

std::string_view trimmed(std::string_view text) {
  return trimmedWhere(text, isSpace);
}

std::string_view trimmedOfPunctuation(std::string_view text) {
  return trimmedWhere(text, isPunctuation);
}

std::string_view trimmedOfSpaceAndPunctuation(std::string_view text) {
  return trimmedWhere(text, [](UChar32 scalar) { return isSpace(scalar) || isPunctuation(scalar); });
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  if (isAscii(text)) {
    for (char& byte : result)
      if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + ('a' - 'A'));
    return result;
  }
  UErrorCode status = U_ZERO_ERROR;
  result.clear();
  icu::StringByteSink<std::string> sink(&result);
  icu::CaseMap::utf8ToLower("", 0, icu::StringPiece(text.data(), length32(text)), sink, nullptr, status);
  return result;
}

std::size_t characterCount(std::string_view text) {
  if (isOneByteACharacter(text)) return text.size();
  std::size_t count = 0;
  forEachCharacter(text, [&](std::size_t, std::size_t) {
    ++count;
    return true;
  });
  return count;
}

std::vector<std::string_view> characters(std::string_view text) {
  std::vector<std::string_view> result;
  forEachCharacter(text, [&](std::size_t begin, std::size_t end) {
    result.push_back(text.substr(begin, end - begin));
    return true;
  });
  return result;
}

std::string_view droppingFirst(std::string_view text, std::size_t count) {
  std::size_t start = text.size();
  std::size_t seen = 0;
  forEachCharacter(text, [&](std::size_t begin, std::size_t) {
    if (seen++ < count) return true;
    start = begin;
    return false;
  });
  return text.substr(start);
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
  const std::size_t total = characterCount(text);
  return total <= count ? text : droppingFirst(text, total - count);
}

bool endsWithCharacter(std::string_view text, std::string_view character) {
  if (text.size() < character.size() || !text.ends_with(character)) return false;
  // The bytes may still continue an earlier character (a line feed after CR, a mark after a letter).
  return lastCharacters(text, 1) == character;
}

bool isNumberCharacter(std::string_view character) {
  const Decoded first = decodeFirst(character);
  return first.scalar >= 0 && u_getIntPropertyValue(first.scalar, UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

bool isLetterCharacter(std::string_view character) {
  const Decoded first = decodeFirst(character);
  return first.scalar >= 0 && u_hasBinaryProperty(first.scalar, UCHAR_ALPHABETIC);
}

bool isUppercaseCharacter(std::string_view character) {
  const Decoded first = decodeFirst(character);
  return first.scalar >= 0 && u_hasBinaryProperty(first.scalar, UCHAR_UPPERCASE);
}

std::string replacingAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  if (from.empty()) return std::string(text);
  std::size_t position = 0;
  for (std::size_t found = text.find(from); found != std::string_view::npos; found = text.find(from, position)) {
    result += text.substr(position, found - position);
    result += to;
    position = found + from.size();
  }
  result += text.substr(position);
  return result;
}

std::optional<Range> findIgnoringCase(std::string_view text, std::string_view needle) {
  if (needle.empty()) return std::nullopt;
  const Folded haystack = fold(text);
  const std::u16string wanted = fold(needle).text;
  for (std::size_t found = haystack.text.find(wanted); found != std::u16string::npos;
       found = haystack.text.find(wanted, found + 1)) {
    const auto begin = haystack.original(found);
    const auto end = haystack.original(found + wanted.size());
    if (begin && end) return Range{*begin, *end};
  }
  return std::nullopt;
}

std::optional<std::size_t> prefixLengthIgnoringCase(std::string_view text, std::string_view prefix) {
  const Folded whole = fold(text);
  const std::u16string wanted = fold(prefix).text;
  if (!whole.text.starts_with(wanted)) return std::nullopt;
  return whole.original(wanted.size());
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  return fold(left).text == fold(right).text;
}

std::string canonical(std::string_view text) {
  if (isAscii(text) || stacksMarks(text)) return std::string(text);
  UErrorCode status = U_ZERO_ERROR;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  icu::Normalizer2::getNFCInstance(status)->normalizeUTF8(0, icu::StringPiece(text.data(), length32(text)), sink,
                                                          nullptr, status);
  return U_SUCCESS(status) ? result : std::string(text);
}

std::string debugQuoted(std::string_view text) {
  std::string result = "\"";
  for (const char byte : text) {
    switch (byte) {
      case '\0':
        result += "\\0";
        continue;
      case '\t':
        result += "\\t";
        continue;
      case '\n':
        result += "\\n";
        continue;
      case '\r':
        result += "\\r";
        continue;
      default:
        break;
    }
    if (byte == '"' || byte == '\'' || byte == '\\') result += '\\';
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x20 && value != 0x7F) {
      result += byte;
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u{%02X}", value);
      result += escape;
    }
  }
  return result + '"';
}

}  // namespace pellora::text
