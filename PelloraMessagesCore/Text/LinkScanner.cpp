#include "PelloraMessagesCore/Text/LinkScanner.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>

#include "PelloraMessagesCore/Text/ByteWindows.h"
#include "PelloraMessagesCore/Text/LinkHost.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::size_t kLongestScheme = 32;
constexpr std::size_t kLongestUserInformation = 256;
constexpr std::size_t kLongestMailLocalPart = 64;
constexpr std::uint32_t kNoPartner = 0xFFFFFFFF;

using ByteSet = std::array<bool, 256>;

constexpr ByteSet byteSet(std::string_view bytes, bool withAlphanumerics) {
  ByteSet result{};
  for (const char byte : bytes) result[static_cast<unsigned char>(byte)] = true;
  for (unsigned byte = 0; withAlphanumerics && byte < 256; ++byte)
    if ((byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'))
      result[byte] = true;
  return result;
}

constexpr ByteSet kAlphanumeric = byteSet("", true);
constexpr ByteSet kWord = byteSet("-_.", true);
constexpr ByteSet kScheme = byteSet("+.-", true);
constexpr ByteSet kUserInformation = byteSet("-._~!$&'*+=:%@", true);
constexpr ByteSet kMailLocalPart = byteSet("._%+-'&!#$*=~", true);
constexpr ByteSet kTail = byteSet("-._~:/?#@!$&'*+,;=|^", true);  // brackets and '%' have rules of their own
constexpr ByteSet kEndsSentence = byteSet(".,;:!?'|([{", false);
constexpr ByteSet kNeverBeforeHost = byteSet("@/\\#$%~", false);
constexpr ByteSet kTelephone = byteSet("0123456789+-.()*#;,", false);
constexpr ByteSet kDigit = byteSet("0123456789", false);
constexpr ByteSet kHexDigit = byteSet("0123456789abcdefABCDEF", false);
constexpr ByteSet kEncoded = byteSet("|^{}", false);

bool isIn(const ByteSet& set, char byte) {
  return set[static_cast<unsigned char>(byte)];
}

bool isAscii(char byte) {
  return static_cast<unsigned char>(byte) < 0x80;
}

struct Scalar {
  UChar32 value = -1;  // negative: invalid bytes
  std::size_t end = 0;
};

Scalar scalarAt(std::string_view text, std::size_t position) {
  // Relative to the place, so that 32 bits hold the offsets in a text of any length.
  const std::string_view rest = text.substr(position, 4);
  std::int32_t offset = 0;
  Scalar result;
  U8_NEXT(rest.data(), offset, static_cast<std::int32_t>(rest.size()), result.value);
  result.end = position + static_cast<std::size_t>(offset);
  return result;
}

Scalar scalarBefore(std::string_view text, std::size_t position) {
  const std::size_t begin = position < 4 ? 0 : position - 4;
  const std::string_view part = text.substr(begin, position - begin);
  auto offset = static_cast<std::int32_t>(part.size());
  Scalar result;
  U8_PREV(part.data(), 0, offset, result.value);
  result.end = begin + static_cast<std::size_t>(offset);
  return result;
}

bool isWordScalar(UChar32 scalar) {
  return scalar >= 0 && (U_GET_GC_MASK(scalar) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0 &&
         !u_hasBinaryProperty(scalar, UCHAR_VARIATION_SELECTOR) && scalar != 0x20E3;
}

bool isUnspaced(UChar32 scalar) {
  return scalar >= 0 && LinkHost::isUnspacedScript(static_cast<char32_t>(scalar));
}

// A dash between two words of a path, such as in the titles of encyclopaedias.
bool isInnerDash(UChar32 scalar) {
  constexpr UChar32 kEmDash = 0x2014;
  constexpr UChar32 kHorizontalBar = 0x2015;
  return scalar >= 0 && u_charType(scalar) == U_DASH_PUNCTUATION && scalar != kEmDash && scalar != kHorizontalBar;
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

}  // namespace

bool LinkScanner::mayHoldLink(std::string_view text) {
  const bool holdsMark = holdsByteWindow<2>(text, [](const unsigned char* bytes) {
    const unsigned isDotOrAt = static_cast<unsigned>(bytes[0] == '.') | static_cast<unsigned>(bytes[0] == '@');
    const unsigned isColon = static_cast<unsigned>(bytes[0] == ':');
    return (isDotOrAt & static_cast<unsigned>(bytes[1] >= '0')) | (isColon & static_cast<unsigned>(bytes[1] >= '#'));
  });
  if (!holdsMark) return false;
  for (std::size_t position = 0; position + 1 < text.size(); ++position) {
    const char next = text[position + 1];
    const bool isFollowed = isIn(kAlphanumeric, next) || !isAscii(next);
    if (text[position] == '.' && isFollowed) return true;
    if (text[position] == '@' && (isFollowed || next == '[')) return true;
    if (text[position] == ':' && (next == '/' || isFollowed || isIn(kTelephone, next))) return true;
  }
  return false;
}

std::optional<LinkDetector::Link> LinkScanner::next() {
  while (_position < _text.size()) {
    const char byte = _text[_position];
    std::optional<Link> link;
    if (byte == '@') {
      link = mailLink(_position);
      if (!link) ++_position;
    } else if (const std::size_t end = wordEnd(_position); end != _position) {
      link = linkAtWord(_position, end);
    } else {
      _position = scalarAt(_text, _position).end;
    }
    if (link) {
      _position = _lastLinkEnd = link->end;
      return link;
    }
  }
  return std::nullopt;
}

// Moves on when there is no link: past the word, or to where another one may begin.
std::optional<LinkDetector::Link> LinkScanner::linkAtWord(std::size_t begin, std::size_t end) {
  if (standsAt(end, "://")) {
    auto link = schemeLink(end);
    if (!link) _position = end + 3;
    return link;
  }
  _position = end;
  const std::string_view word = _text.substr(begin, end - begin);
  if (byteAt(end) == ':') {
    if (equalsAscii(word, "mailto")) return mailtoLink(begin, end);
    if (equalsAscii(word, "tel")) return telephoneLink(begin, end);
  }
  if (byteAt(end) == '@' || word.find('.') == std::string_view::npos) return std::nullopt;
  return bareLink(begin, end);
}

// The letters before "://" as far as they are a scheme; a web scheme ends a longer word ("see.http://").
std::size_t LinkScanner::schemeBegin(std::size_t colon) const {
  std::size_t begin = colon;
  while (begin > _lastLinkEnd && colon - begin < kLongestScheme && isIn(kScheme, _text[begin - 1])) --begin;
  while (begin < colon && (!isIn(kAlphanumeric, _text[begin]) || isIn(kDigit, _text[begin]))) ++begin;
  const std::string_view scheme = _text.substr(begin, colon - begin);
  for (const std::string_view web : {"https", "http"})
    if (endsWithAscii(scheme, web) && (scheme.size() == web.size() || scheme[scheme.size() - web.size() - 1] != '+'))
      return colon - web.size();
  return begin;
}

std::optional<LinkDetector::Link> LinkScanner::schemeLink(std::size_t colon) {
  Link link;
  link.begin = schemeBegin(colon);
  if (link.begin == colon) return std::nullopt;
  link.scheme = text::lowercased(_text.substr(link.begin, colon - link.begin));
  const std::size_t authority = colon + 3;
  link.absoluteUrl = std::string(_text.substr(link.begin, authority - link.begin));
  std::size_t hostBegin = afterUserInformation(authority);
  auto found = byteAt(hostBegin) == '[' ? addressInBrackets(hostBegin) : host(hostBegin);
  if (!found && hostBegin != authority) {
    hostBegin = authority;
    found = host(hostBegin);
  }
  if (found && standsAt(found->end, "://")) return std::nullopt;
  if (!found) {
    // "file:///etc/hosts" has none.
    const bool needsHost = link.scheme == "http" || link.scheme == "https" || link.scheme == "ftp";
    if (needsHost || byteAt(authority) != '/') return std::nullopt;
    link.end = tailEnd(link.begin, authority);
    link.absoluteUrl += encoded(authority, link.end);
    return link;
  }
  link.absoluteUrl += encoded(authority, hostBegin) + found->ascii;
  const std::size_t port = found->isComplete ? portEnd(found->end) : found->end;
  link.end = found->isComplete ? tailEnd(link.begin, port) : port;
  link.absoluteUrl += encoded(found->end, link.end);
  return link;
}

// Where the host begins: behind the last '@' before path, query and fragment.
std::size_t LinkScanner::afterUserInformation(std::size_t begin) const {
  std::size_t result = begin;
  const std::size_t limit = std::min(_text.size(), begin + kLongestUserInformation);
  for (std::size_t position = begin; position < limit && isIn(kUserInformation, _text[position]); ++position)
    if (_text[position] == '@') result = position + 1;
  return result;
}

std::optional<LinkScanner::Host> LinkScanner::addressInBrackets(std::size_t begin) const {
  const std::size_t close = _text.substr(0, std::min(_text.size(), begin + 48)).find(']', begin);
  if (close == std::string_view::npos) return std::nullopt;
  if (!LinkHost::isIPv6(_text.substr(begin + 1, close - begin - 1))) return std::nullopt;
  return Host{close + 1, std::string(_text.substr(begin, close + 1 - begin)), true};
}

// Any valid name, whether or not its top-level domain exists.
std::optional<LinkScanner::Host> LinkScanner::host(std::size_t begin) const {
  std::size_t end = begin;
  while (end < _text.size()) {
    const char byte = _text[end];
    if (byte == '.' && byteAt(end + 1) == '.') break;
    if (isAscii(byte)) {
      if (!isIn(kWord, byte)) break;
      ++end;
      continue;
    }
    const Scalar scalar = scalarAt(_text, end);
    if (!isWordScalar(scalar.value)) break;
    end = scalar.end;
  }
  std::string_view name = _text.substr(begin, end - begin);
  const std::size_t wholeSize = name.size();
  while (!name.empty() && (name.back() == '.' || name.back() == '-' || name.back() == '_')) name.remove_suffix(1);
  name = LinkHost::withoutTextBehind(name);
  auto ascii = LinkHost::ascii(name);
  if (!ascii) return std::nullopt;
  return Host{begin + name.size(), std::move(*ascii), name.size() == wholeSize};
}

std::optional<LinkDetector::Link> LinkScanner::mailtoLink(std::size_t begin, std::size_t colon) {
  std::size_t at = colon + 1;
  while (at - colon <= kLongestMailLocalPart && isIn(kMailLocalPart, byteAt(at))) ++at;
  if (at == colon + 1 || byteAt(at) != '@') return std::nullopt;
  const auto found = host(at + 1);
  if (!found) return std::nullopt;
  Link link{begin, found->end, "mailto", {}};
  if (found->isComplete && byteAt(found->end) == '?') link.end = tailEnd(begin, found->end);
  link.absoluteUrl = std::string(_text.substr(begin, at + 1 - begin)) + found->ascii + encoded(found->end, link.end);
  return link;
}

std::optional<LinkDetector::Link> LinkScanner::telephoneLink(std::size_t begin, std::size_t colon) {
  std::size_t end = colon + 1;
  while (end < _text.size() && isIn(kTelephone, _text[end])) ++end;
  while (end > colon + 1 && !isIn(kDigit, _text[end - 1])) --end;
  if (end == colon + 1) return std::nullopt;
  return Link{begin, end, "tel", std::string(_text.substr(begin, end - begin))};
}

std::size_t LinkScanner::mailLocalBegin(std::size_t at) const {
  std::size_t begin = at;
  while (begin > _lastLinkEnd && at - begin < kLongestMailLocalPart) {
    if (isAscii(_text[begin - 1])) {
      if (!isIn(kMailLocalPart, _text[begin - 1])) break;
      --begin;
      continue;
    }
    const Scalar scalar = scalarBefore(_text, begin);
    if (!isWordScalar(scalar.value) || isUnspaced(scalar.value)) break;
    begin = scalar.end;
  }
  while (begin < at && isAscii(_text[begin]) && !isIn(kAlphanumeric, _text[begin]) && _text[begin] != '_') ++begin;
  return begin;
}

std::optional<LinkDetector::Link> LinkScanner::mailLink(std::size_t at) {
  const std::size_t begin = mailLocalBegin(at);
  if (begin == at || _text[at - 1] == '.') return std::nullopt;
  auto found = host(at + 1);
  if (!found || found->ascii.find('.') == std::string::npos) return std::nullopt;
  if (!LinkHost::endsInTopLevelDomain(found->ascii)) return std::nullopt;
  return Link{begin, found->end, "mailto", "mailto:" + encoded(begin, at) + "@" + found->ascii};
}

// Whether what follows is the rest of a mail address ("anna.me+news@example.com").
bool LinkScanner::isMailLocalPart(std::size_t position) const {
  const std::size_t limit = std::min(_text.size(), position + kLongestMailLocalPart);
  while (position < limit && isIn(kMailLocalPart, _text[position])) ++position;
  return byteAt(position) == '@';
}

std::optional<LinkDetector::Link> LinkScanner::bareLink(std::size_t begin, std::size_t wordEnd) {
  std::size_t end = wordEnd;
  const auto isEdge = [this](std::size_t at) { return _text[at] == '.' || _text[at] == '-' || _text[at] == '_'; };
  if (begin > 0 && isIn(kNeverBeforeHost, _text[begin - 1])) return std::nullopt;
  while (begin < end && isEdge(begin)) ++begin;
  while (end > begin && isEdge(end - 1)) --end;
  std::string_view name = LinkHost::withoutTextBehind(_text.substr(begin, end - begin));
  const std::size_t dot = name.find('.');
  if (dot == std::string_view::npos || name.size() > 4 * LinkHost::kMaximumBytes) return std::nullopt;
  const bool isWhole = begin + name.size() == wordEnd;
  const bool isWww = startsWithAscii(name, "www.");
  const bool isAddress = LinkHost::isIPv4(name);
  if (!isWww && !isAddress && !LinkHost::endsInTopLevelDomain(name)) return std::nullopt;
  const auto ascii = LinkHost::ascii(name);
  if (!ascii || (isWhole && isMailLocalPart(wordEnd))) return std::nullopt;
  const std::size_t nameEnd = begin + name.size();
  const std::size_t port = isWhole ? portEnd(nameEnd) : nameEnd;
  const bool isExplicit = isWww || (isWhole && (port != nameEnd || byteAt(nameEnd) == '/'));
  if (!isExplicit && (isAddress || LinkHost::looksAccidental(name))) return std::nullopt;
  Link link{begin, isWhole ? tailEnd(begin, port) : nameEnd, "http", {}};
  link.absoluteUrl = "http://" + *ascii + encoded(nameEnd, link.end);
  return link;
}

// Behind ":8080", or `begin` when no port stands there.
std::size_t LinkScanner::portEnd(std::size_t begin) const {
  constexpr unsigned kLargestPort = 65'535;
  if (byteAt(begin) != ':') return begin;
  unsigned port = 0;
  std::size_t end = begin + 1;
  for (; isIn(kDigit, byteAt(end)); ++end) {
    port = port * 10 + static_cast<unsigned>(_text[end] - '0');
    if (port > kLargestPort) return begin;
  }
  return end == begin + 1 || isIn(kAlphanumeric, byteAt(end)) ? begin : end;
}

// Behind path, query and fragment, if any stands at `begin`.
std::size_t LinkScanner::tailEnd(std::size_t linkBegin, std::size_t begin) {
  if (byteAt(begin) != '/' && byteAt(begin) != '?' && byteAt(begin) != '#') return begin;
  std::size_t end = begin;
  while (end < _text.size()) {
    const std::size_t after = characterEnd(linkBegin, end);
    if (after == end) break;
    end = after;
  }
  return trimmedTailEnd(linkBegin, begin, end);
}

// Behind the character at `position` when it may be part of a path, else `position`.
std::size_t LinkScanner::characterEnd(std::size_t linkBegin, std::size_t position) {
  const char byte = _text[position];
  if (const Bracket bracket = bracketAt(_text, position); bracket.kind != 0) {
    const std::uint32_t partner = bracketPartner(position);
    if (partner == kNoPartner || partner < linkBegin) return position;
    return scalarAt(_text, position).end;
  }
  if (byte == '%')
    return isIn(kHexDigit, byteAt(position + 1)) && isIn(kHexDigit, byteAt(position + 2)) ? position + 3 : position;
  if (isAscii(byte)) {
    if (!isIn(kTail, byte)) return position;
    if (byte == '\'' && linkBegin > 0 && _text[linkBegin - 1] == '\'') return position;
    if (byte == ',' || byte == ';') {
      const std::string_view rest = _text.substr(position + 1, 8);
      for (const std::string_view start : {"http://", "https://", "www."})
        if (startsWithAscii(rest, start)) return position;
    }
    return position + 1;
  }
  const Scalar scalar = scalarAt(_text, position);
  if (isWordScalar(scalar.value))
    return isUnspaced(scalar.value) && isIn(kAlphanumeric, _text[position - 1]) ? position : scalar.end;
  if (isInnerDash(scalar.value) && scalar.end < _text.size() &&
      (isIn(kAlphanumeric, _text[scalar.end]) || isWordScalar(scalarAt(_text, scalar.end).value)))
    return scalar.end;
  return position;
}

std::size_t LinkScanner::trimmedTailEnd(std::size_t linkBegin, std::size_t begin, std::size_t end) const {
  // What decorates a link stands on both sides of it: *link*, _link_.
  const char before = linkBegin > 0 ? _text[linkBegin - 1] : '\0';
  const bool isDecoration = before == '*' || before == '_' || before == '~';
  while (end > begin && (isIn(kEndsSentence, _text[end - 1]) || (isDecoration && _text[end - 1] == before))) --end;
  return end;
}

// The end of the letters, digits and marks of a host at `begin`; a text in a script without spaces ends where
// another alphabet begins, unless a full stop was seen. Two full stops in a row belong to no word.
std::size_t LinkScanner::wordEnd(std::size_t begin) const {
  std::size_t end = begin;
  bool hasDot = false;
  bool isAfterUnspaced = false;
  while (end < _text.size()) {
    const char byte = _text[end];
    if (isAscii(byte)) {
      if (byte == '.' && byteAt(end + 1) == '.') break;
      if (!isIn(kWord, byte) || (isAfterUnspaced && !hasDot && isIn(kAlphanumeric, byte))) break;
      hasDot = hasDot || byte == '.';
      isAfterUnspaced = false;
      ++end;
      continue;
    }
    const Scalar scalar = scalarAt(_text, end);
    if (!isWordScalar(scalar.value)) break;
    isAfterUnspaced = isUnspaced(scalar.value);
    end = scalar.end;
  }
  return end;
}

// As in the text, with what an address cannot hold percent-encoded.
std::string LinkScanner::encoded(std::size_t begin, std::size_t end) const {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string result;
  result.reserve(end - begin);
  for (const char byte : _text.substr(begin, end - begin)) {
    if (isAscii(byte) && !isIn(kEncoded, byte)) {
      result += byte;
      continue;
    }
    const auto value = static_cast<unsigned char>(byte);
    result += '%';
    result += kDigits[value >> 4U];
    result += kDigits[value & 0xFU];
  }
  return result;
}

// The position of the bracket that belongs to the one at `position`, without white space between them.
std::uint32_t LinkScanner::bracketPartner(std::size_t position) {
  if (!_partners.empty()) return _partners[position];
  _partners.assign(_text.size(), kNoPartner);
  std::vector<std::uint32_t> open;
  for (std::size_t at = 0; at < _text.size(); ++at) {
    const char byte = _text[at];
    if ((isAscii(byte) && byte <= ' ') || byte == '"' || byte == '<' || byte == '>') open.clear();
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
