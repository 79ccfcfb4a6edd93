#include "PelloraMessagesCore/Text/LinkText.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora::LinkText {

namespace {

constexpr std::size_t kMostSymbolBytes = 64;  // of one run: the longest families and flags, several times

constexpr ByteSet kHexDigit{"0123456789abcdefABCDEF"};
constexpr ByteSet kEncoded{"|^{}"};

// The ideographic full stop, the full-width and the half-width one, and the one-dot leader.
constexpr auto kForeignDots = std::to_array<std::string_view>({"\u3002", "\uFF0E", "\uFF61", "\u2024"});

UChar32 icuScalar(char32_t scalar) {
  return static_cast<UChar32>(scalar);
}

bool isEscape(std::string_view text, std::size_t percent) {
  return kHexDigit.contains(byteAt(text, percent + 1)) && kHexDigit.contains(byteAt(text, percent + 2));
}

void appendEscaped(std::string& result, char byte) {
  result += '%';
  appendHex(result, static_cast<unsigned char>(byte), kUpperHexDigits);
}

}  // namespace

Scalar scalarAt(std::string_view text, std::size_t position) {
  // Relative to the place, so that 32 bits hold the offsets in a text of any length.
  const std::string_view rest = text.substr(position, 4);
  std::int32_t offset = 0;
  UChar32 value = 0;
  U8_NEXT(rest.data(), offset, static_cast<std::int32_t>(rest.size()), value);
  return {value < 0 ? kNoScalar : static_cast<char32_t>(value), position + static_cast<std::size_t>(offset)};
}

Scalar scalarBefore(std::string_view text, std::size_t position) {
  const std::size_t begin = position < 4 ? 0 : position - 4;
  const std::string_view part = text.substr(begin, position - begin);
  auto offset = static_cast<std::int32_t>(part.size());
  UChar32 value = 0;
  U8_PREV(part.data(), 0, offset, value);
  return {value < 0 ? kNoScalar : static_cast<char32_t>(value), begin + static_cast<std::size_t>(offset)};
}

bool isWordScalar(char32_t scalar) {
  return scalar != kNoScalar && (U_GET_GC_MASK(icuScalar(scalar)) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0 &&
         !isSymbol(scalar);
}

bool isSymbol(char32_t scalar) {
  constexpr char32_t kZeroWidthJoiner = 0x200D;
  constexpr char32_t kKeycap = 0x20E3;
  if (scalar == kNoScalar || scalar < 0x80) return false;
  return scalar == kZeroWidthJoiner || scalar == kKeycap || (U_GET_GC_MASK(icuScalar(scalar)) & U_GC_S_MASK) != 0 ||
         u_hasBinaryProperty(icuScalar(scalar), UCHAR_VARIATION_SELECTOR);
}

bool isUnspacedScript(char32_t scalar) {
  if (scalar < 0x0E00 || scalar == kNoScalar) return false;
  UErrorCode status = U_ZERO_ERROR;
  switch (static_cast<int>(uscript_getScript(icuScalar(scalar), &status))) {
    case USCRIPT_HAN:
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_HANGUL:
    case USCRIPT_BOPOMOFO:
    case USCRIPT_THAI:
    case USCRIPT_LAO:
    case USCRIPT_KHMER:
    case USCRIPT_MYANMAR:
      return true;
    default:
      return scalar == 0x30FC;  // the long vowel mark belongs to both kinds of Kana
  }
}

bool isInnerPunctuation(char32_t scalar) {
  constexpr char32_t kEmDash = 0x2014;
  constexpr char32_t kHorizontalBar = 0x2015;
  if (scalar == kNoScalar || scalar < 0x80 || scalar == kEmDash || scalar == kHorizontalBar) return false;
  return scalar == U'\u2019' || scalar == U'\u00B7' || scalar == U'\u30FB' ||
         u_charType(icuScalar(scalar)) == U_DASH_PUNCTUATION;
}

std::size_t symbolsEnd(std::string_view text, std::size_t position) {
  std::size_t end = position;
  while (end < text.size() && !isAscii(text[end])) {
    const Scalar scalar = scalarAt(text, end);
    if (!isSymbol(scalar.value)) break;
    end = scalar.end;
    if (end - position > kMostSymbolBytes) return position;
  }
  return end;
}

std::size_t foreignDotEnd(std::string_view text, std::size_t position) {
  const std::string_view rest = text.substr(std::min(position, text.size()));
  for (const std::string_view dot : kForeignDots)
    if (rest.starts_with(dot)) return position + dot.size();
  return position;
}

std::string withPlainDots(std::string_view host) {
  std::string result;
  result.reserve(host.size());
  for (std::size_t position = 0; position < host.size();) {
    const std::size_t end = isAscii(host[position]) ? position : foreignDotEnd(host, position);
    result += end == position ? host[position] : '.';
    position = std::max(end, position + 1);
  }
  return result;
}

bool equalsAscii(std::string_view text, std::string_view lowerCase) {
  return text.size() == lowerCase.size() &&
         std::equal(text.begin(), text.end(), lowerCase.begin(), [](char left, char right) {
           return (left >= 'A' && left <= 'Z' ? static_cast<char>(left + ('a' - 'A')) : left) == right;
         });
}

bool startsWithAscii(std::string_view text, std::string_view lowerCase) {
  return text.size() >= lowerCase.size() && equalsAscii(text.substr(0, lowerCase.size()), lowerCase);
}

bool endsWithAscii(std::string_view text, std::string_view lowerCase) {
  return text.size() >= lowerCase.size() && equalsAscii(text.substr(text.size() - lowerCase.size()), lowerCase);
}

std::string percentEncoded(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size(); ++position) {
    const char byte = text[position];
    const bool isStrayPercent = byte == '%' && !isEscape(text, position);
    if (!isAscii(byte) || kEncoded.contains(byte) || isStrayPercent)
      appendEscaped(result, byte);
    else
      result += byte;
  }
  return result;
}

}  // namespace pellora::LinkText

namespace pellora {

namespace {

using LinkText::byteAt;
using LinkText::ByteSet;
using LinkText::Scalar;
using LinkText::scalarAt;

constexpr std::uint32_t kNoPartner = 0xFFFFFFFF;

// Brackets and '%' have rules of their own.
constexpr ByteSet kTail{"-._~:/?#@!$&'*+,;=|^", ByteSet::With::alphanumerics};
constexpr ByteSet kEndsSentence{".,;:!?'|([{"};

struct Bracket {
  int kind = 0;  // 0: none
  bool opens = false;
};

Bracket bracketAt(std::string_view text, std::size_t position) {
  switch (text[position]) {
    case '(':
      return {1, true};
    case ')':
      return {1, false};
    case '[':
      return {2, true};
    case ']':
      return {2, false};
    case '{':
      return {3, true};
    case '}':
      return {3, false};
    case '\xEF':
      if (text.substr(position).starts_with("\uFF08")) return {4, true};
      if (text.substr(position).starts_with("\uFF09")) return {4, false};
      return {};
    default:
      return {};
  }
}

// Whether a word or another segment of a path continues here.
bool goesOn(std::string_view text, std::size_t position) {
  const char byte = byteAt(text, position);
  if (LinkText::isAscii(byte)) return LinkText::kAlphanumeric.contains(byte) || byte == '/' || byte == '%';
  return LinkText::isWordScalar(scalarAt(text, position).value);
}

}  // namespace

std::size_t LinkTail::endFrom(std::size_t begin, std::size_t linkBegin) {
  const char first = byteAt(_text, begin);
  if (first != '/' && first != '?' && first != '#') return begin;
  std::size_t end = begin;
  while (end < _text.size()) {
    const std::size_t after = characterEnd(linkBegin, end);
    if (after == end) break;
    end = after;
  }
  return trimmedEnd(linkBegin, begin, end);
}

// The end of the character at `position` when it may be part of a path, else `position`.
std::size_t LinkTail::characterEnd(std::size_t linkBegin, std::size_t position) {
  if (bracketAt(_text, position).kind != 0) {
    const std::uint32_t partner = bracketPartner(position);
    if (partner == kNoPartner || partner < linkBegin) return position;
    return scalarAt(_text, position).end;
  }
  return LinkText::isAscii(_text[position]) ? asciiEnd(linkBegin, position) : foreignEnd(position);
}

std::size_t LinkTail::asciiEnd(std::size_t linkBegin, std::size_t position) const {
  const char byte = _text[position];
  if (byte == '%') return LinkText::kAlphanumeric.contains(byteAt(_text, position + 1)) ? position + 1 : position;
  if (!kTail.contains(byte)) return position;
  if (byte == '\'' && linkBegin > 0 && _text[linkBegin - 1] == '\'') return position;
  if (byte == ',' || byte == ';') {
    const std::string_view rest = _text.substr(position + 1, 8);
    for (const std::string_view start : {"http://", "https://", "www."})
      if (LinkText::startsWithAscii(rest, start)) return position;
  }
  return position + 1;
}

std::size_t LinkTail::foreignEnd(std::size_t position) const {
  const Scalar scalar = scalarAt(_text, position);
  if (LinkText::isWordScalar(scalar.value)) return scalar.end;
  if (LinkText::isInnerPunctuation(scalar.value)) return goesOn(_text, scalar.end) ? scalar.end : position;
  // An emoji after a whole word decorates the link; as a segment or a value of its own it is part of it.
  const std::size_t end = LinkText::symbolsEnd(_text, position);
  const char before = _text[position - 1];
  return before == '/' || before == '=' || goesOn(_text, end) ? end : position;
}

std::size_t LinkTail::trimmedEnd(std::size_t linkBegin, std::size_t begin, std::size_t end) const {
  // Decoration is on both sides of a link: *link*, _link_.
  const char before = linkBegin > 0 ? _text[linkBegin - 1] : '\0';
  const bool isDecorated = before == '*' || before == '_' || before == '~';
  while (end > begin && (kEndsSentence.contains(_text[end - 1]) || (isDecorated && _text[end - 1] == before))) --end;
  return end;
}

// The position of the bracket that belongs to the one at `position`, without white space between them.
std::uint32_t LinkTail::bracketPartner(std::size_t position) {
  if (!_partners.empty()) return _partners[position];
  _partners.assign(_text.size(), kNoPartner);
  std::vector<std::uint32_t> open;
  for (std::size_t at = 0; at < _text.size(); ++at) {
    const char byte = _text[at];
    if ((LinkText::isAscii(byte) && byte <= ' ') || byte == '"' || byte == '<' || byte == '>') open.clear();
    const Bracket bracket = bracketAt(_text, at);
    if (bracket.kind == 0) continue;
    if (bracket.opens) {
      open.push_back(static_cast<std::uint32_t>(at));
    } else if (!open.empty() && bracketAt(_text, open.back()).kind == bracket.kind) {
      _partners[at] = open.back();
      _partners[open.back()] = static_cast<std::uint32_t>(at);
      open.pop_back();
    }
  }
  return _partners[position];
}

}  // namespace pellora
