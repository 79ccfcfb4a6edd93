#include "PelloraMessagesCore/Text/LinkTail.h"

#include "PelloraMessagesCore/Text/LinkText.h"

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

// Behind the character at `position` when it may be part of a path, else `position`.
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
  // An emoji behind a whole word decorates the link; as a segment or a value of its own it is part of it.
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
