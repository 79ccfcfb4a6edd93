#include "PelloraMessagesCore/Text/LinkDetector.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "PelloraMessagesCore/Text/Bytes.h"
#include "PelloraMessagesCore/Text/LinkHost.h"
#include "PelloraMessagesCore/Text/LinkText.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using LinkText::ByteSet;
using LinkText::isAscii;
using LinkText::Scalar;
using LinkText::scalarAt;

constexpr std::size_t kLongestScheme = 32;
constexpr std::size_t kLongestUserInformation = 256;
constexpr std::size_t kLongestMailLocalPart = 64;

constexpr ByteSet kScheme{"+.-", ByteSet::With::alphanumerics};
constexpr ByteSet kUserInformation{"-._~!$&'*+=:%@", ByteSet::With::alphanumerics};
constexpr ByteSet kMailLocalPart{"._%+-'&!#$*=~", ByteSet::With::alphanumerics};
constexpr ByteSet kNeverBeforeHost{"@/\\#$%~"};
constexpr ByteSet kTelephone{"0123456789+-.()*#;,"};

// A quick look: false only for a text that holds no link.
bool mayHoldLink(std::string_view text) {
  const bool holdsMark = holdsByteWindow<2>(text, [](const unsigned char* bytes) {
    const unsigned isDotOrAt = static_cast<unsigned>(bytes[0] == '.') | static_cast<unsigned>(bytes[0] == '@');
    const unsigned isColon = static_cast<unsigned>(bytes[0] == ':');
    // The last two bytes of the foreign full stops.
    const unsigned isForeignDot =
        (static_cast<unsigned>(bytes[0] == 0x80) &
         (static_cast<unsigned>(bytes[1] == 0x82) | static_cast<unsigned>(bytes[1] == 0xA4))) |
        (static_cast<unsigned>(bytes[0] == 0xBC) & static_cast<unsigned>(bytes[1] == 0x8E)) |
        (static_cast<unsigned>(bytes[0] == 0xBD) & static_cast<unsigned>(bytes[1] == 0xA1));
    return (isDotOrAt & static_cast<unsigned>(bytes[1] >= '0')) | (isColon & static_cast<unsigned>(bytes[1] >= '#')) |
           isForeignDot;
  });
  if (!holdsMark) return false;
  for (std::size_t position = 0; position + 1 < text.size(); ++position) {
    const char next = text[position + 1];
    const bool isFollowed = LinkText::kAlphanumeric.contains(next) || !isAscii(next);
    if (text[position] == '.' && isFollowed) return true;
    if (text[position] == '@' && (isFollowed || next == '[')) return true;
    if (text[position] == ':' && (next == '/' || isFollowed || kTelephone.contains(next))) return true;
    if (!isAscii(text[position]) && LinkText::foreignDotEnd(text, position) != position) return true;
  }
  return false;
}

// One pass over one text, front to back: every byte is looked at a bounded number of times.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : _text(text), _tail(text) {}

  // The next link, absent at the end of the text.
  std::optional<LinkDetector::Link> next();

 private:
  using Link = LinkDetector::Link;

  std::optional<Link> linkAtWord(std::size_t begin, std::size_t end);
  std::optional<Link> schemeLink(std::size_t colon);
  std::optional<Link> linkWithoutHost(Link link, std::size_t authority);
  std::optional<Link> mailtoLink(std::size_t begin, std::size_t colon);
  std::optional<Link> telephoneLink(std::size_t begin, std::size_t colon);
  std::optional<Link> mailLink(std::size_t at);
  std::optional<Link> bareLink(std::size_t begin, std::size_t wordEnd);

  char byteAt(std::size_t position) const { return LinkText::byteAt(_text, position); }
  bool occursAt(std::size_t position, std::string_view part) const {
    return position <= _text.size() && _text.substr(position).starts_with(part);
  }

  std::size_t schemeBegin(std::size_t colon) const;
  std::size_t afterUserInformation(std::size_t begin) const;
  std::size_t mailLocalBegin(std::size_t at) const;
  bool isMailLocalPart(std::size_t position) const;
  std::size_t wordEnd(std::size_t begin) const;
  std::size_t foreignWordPartEnd(std::size_t position) const;
  std::string encoded(std::size_t begin, std::size_t end) const {
    return LinkText::percentEncoded(_text.substr(begin, end - begin));
  }

  std::string_view _text;
  LinkTail _tail;
  std::size_t _position = 0;
  std::size_t _lastLinkEnd = 0;
};

std::optional<LinkDetector::Link> Scanner::next() {
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
std::optional<LinkDetector::Link> Scanner::linkAtWord(std::size_t begin, std::size_t end) {
  if (occursAt(end, "://")) {
    auto link = schemeLink(end);
    if (!link) _position = end + 3;
    return link;
  }
  _position = end;
  const std::string_view word = _text.substr(begin, end - begin);
  if (byteAt(end) == ':') {
    if (LinkText::equalsAscii(word, "mailto")) return mailtoLink(begin, end);
    if (LinkText::equalsAscii(word, "tel")) return telephoneLink(begin, end);
  }
  if (byteAt(end) == '@' || (word.find('.') == std::string_view::npos && text::isAscii(word))) return std::nullopt;
  return bareLink(begin, end);
}

// The letters before "://" as far as they are a scheme; a web scheme ends a longer word ("see.http://").
std::size_t Scanner::schemeBegin(std::size_t colon) const {
  std::size_t begin = colon;
  while (begin > _lastLinkEnd && colon - begin < kLongestScheme && kScheme.contains(_text[begin - 1])) --begin;
  while (begin < colon && (!LinkText::kAlphanumeric.contains(_text[begin]) || LinkText::kDigit.contains(_text[begin])))
    ++begin;
  const std::string_view scheme = _text.substr(begin, colon - begin);
  for (const std::string_view web : {"https", "http"})
    if (LinkText::endsWithAscii(scheme, web) &&
        (scheme.size() == web.size() || scheme[scheme.size() - web.size() - 1] != '+'))
      return colon - web.size();
  return begin;
}

std::optional<LinkDetector::Link> Scanner::schemeLink(std::size_t colon) {
  Link link;
  link.begin = schemeBegin(colon);
  if (link.begin == colon) return std::nullopt;
  link.scheme = text::lowercased(_text.substr(link.begin, colon - link.begin));
  const std::size_t authority = colon + 3;
  std::size_t hostBegin = afterUserInformation(authority);
  auto found =
      byteAt(hostBegin) == '[' ? LinkHost::addressInBracketsAt(_text, hostBegin) : LinkHost::nameAt(_text, hostBegin);
  if (!found && hostBegin != authority) {
    hostBegin = authority;
    found = LinkHost::nameAt(_text, hostBegin);
  }
  if (!found) return linkWithoutHost(std::move(link), authority);
  if (occursAt(found->end, "://")) return std::nullopt;
  const std::size_t hostEnd = LinkHost::emptyLabelEnd(_text, found->end);
  const bool isComplete = found->isComplete || hostEnd != found->end;
  const auto port = isComplete ? LinkHost::portEnd(_text, hostEnd) : hostEnd;
  if (!port) return std::nullopt;
  link.end = isComplete ? _tail.endFrom(*port, link.begin) : *port;
  link.absoluteUrl = std::string(_text.substr(link.begin, authority - link.begin)) + encoded(authority, hostBegin) +
                     found->ascii + encoded(found->end, link.end);
  return link;
}

// "file:///etc/hosts".
std::optional<LinkDetector::Link> Scanner::linkWithoutHost(Link link, std::size_t authority) {
  const bool needsHost = link.scheme == "http" || link.scheme == "https" || link.scheme == "ftp";
  if (needsHost || byteAt(authority) != '/') return std::nullopt;
  link.end = _tail.endFrom(authority, link.begin);
  link.absoluteUrl = std::string(_text.substr(link.begin, authority - link.begin)) + encoded(authority, link.end);
  return link;
}

// Where the host begins: after the last '@' before path, query and fragment.
std::size_t Scanner::afterUserInformation(std::size_t begin) const {
  std::size_t result = begin;
  const std::size_t limit = std::min(_text.size(), begin + kLongestUserInformation);
  for (std::size_t position = begin; position < limit && kUserInformation.contains(_text[position]); ++position)
    if (_text[position] == '@') result = position + 1;
  return result;
}

std::optional<LinkDetector::Link> Scanner::mailtoLink(std::size_t begin, std::size_t colon) {
  std::size_t at = colon + 1;
  while (at - colon <= kLongestMailLocalPart && kMailLocalPart.contains(byteAt(at))) ++at;
  if (at == colon + 1 || byteAt(at) != '@') return std::nullopt;
  const auto found = LinkHost::nameAt(_text, at + 1);
  if (!found) return std::nullopt;
  Link link{begin, found->end, "mailto", {}};
  if (found->isComplete && byteAt(found->end) == '?') link.end = _tail.endFrom(found->end, begin);
  link.absoluteUrl = std::string(_text.substr(begin, at + 1 - begin)) + found->ascii + encoded(found->end, link.end);
  return link;
}

std::optional<LinkDetector::Link> Scanner::telephoneLink(std::size_t begin, std::size_t colon) {
  std::size_t end = colon + 1;
  while (end < _text.size() && kTelephone.contains(_text[end])) ++end;
  while (end > colon + 1 && !LinkText::kDigit.contains(_text[end - 1])) --end;
  if (end == colon + 1) return std::nullopt;
  return Link{begin, end, "tel", std::string(_text.substr(begin, end - begin))};
}

std::size_t Scanner::mailLocalBegin(std::size_t at) const {
  std::size_t begin = at;
  while (begin > _lastLinkEnd && at - begin < kLongestMailLocalPart) {
    if (isAscii(_text[begin - 1])) {
      if (!kMailLocalPart.contains(_text[begin - 1])) break;
      --begin;
      continue;
    }
    const Scalar scalar = LinkText::scalarBefore(_text, begin);
    if (!LinkText::isWordScalar(scalar.value) || LinkText::isUnspacedScript(scalar.value)) break;
    begin = scalar.end;
  }
  while (begin < at && isAscii(_text[begin]) && !LinkText::kAlphanumeric.contains(_text[begin]) && _text[begin] != '_')
    ++begin;
  return begin;
}

std::optional<LinkDetector::Link> Scanner::mailLink(std::size_t at) {
  const std::size_t begin = mailLocalBegin(at);
  if (begin == at || _text[at - 1] == '.') return std::nullopt;
  auto found = LinkHost::nameAt(_text, at + 1);
  if (!found || found->ascii.find('.') == std::string::npos) return std::nullopt;
  if (!LinkHost::endsInTopLevelDomain(found->ascii)) return std::nullopt;
  return Link{begin, found->end, "mailto", "mailto:" + encoded(begin, at) + "@" + found->ascii};
}

// Whether what follows is the rest of a mail address ("anna.me+news@example.com").
bool Scanner::isMailLocalPart(std::size_t position) const {
  const std::size_t limit = std::min(_text.size(), position + kLongestMailLocalPart);
  while (position < limit && kMailLocalPart.contains(_text[position])) ++position;
  return byteAt(position) == '@';
}

std::optional<LinkDetector::Link> Scanner::bareLink(std::size_t begin, std::size_t wordEnd) {
  std::size_t end = wordEnd;
  const auto isEdge = [this](std::size_t at) { return _text[at] == '.' || _text[at] == '-' || _text[at] == '_'; };
  if (begin > 0 && kNeverBeforeHost.contains(_text[begin - 1])) return std::nullopt;
  while (begin < end && isEdge(begin)) ++begin;
  while (end > begin && isEdge(end - 1)) --end;
  const std::string_view name = LinkHost::withoutTextBehind(_text.substr(begin, end - begin));
  const std::string plain = LinkText::withPlainDots(name.substr(0, 4 * LinkHost::kMaximumBytes + 1));
  if (plain.find('.') == std::string::npos) return std::nullopt;
  const bool isWww = LinkText::startsWithAscii(plain, "www.");
  const bool isAddress = LinkHost::isIPv4(plain);
  if (!isWww && !isAddress && !LinkHost::endsInTopLevelDomain(plain)) return std::nullopt;
  const auto ascii = LinkHost::ascii(name);
  const std::size_t nameEnd = begin + name.size();
  const bool isWhole = nameEnd == wordEnd || LinkHost::emptyLabelEnd(_text, nameEnd) == wordEnd;
  if (!ascii || (isWhole && isMailLocalPart(wordEnd))) return std::nullopt;
  // A colon and a slash alone are a face.
  const bool isFace = occursAt(wordEnd, ":/") && !LinkText::kAlphanumeric.contains(byteAt(wordEnd + 2));
  const auto port = isWhole && !isFace ? LinkHost::portEnd(_text, wordEnd) : nameEnd;
  if (!port) return std::nullopt;
  const bool isExplicit = isWww || (isWhole && (*port > wordEnd || byteAt(wordEnd) == '/'));
  if (!isExplicit && (isAddress || !LinkHost::isMeant(name))) return std::nullopt;
  Link link{begin, isWhole ? _tail.endFrom(*port, begin) : nameEnd, "http", {}};
  link.absoluteUrl = "http://" + *ascii + encoded(nameEnd, link.end);
  return link;
}

// The end of the letters, digits and marks of a host at `begin`; a text in a script without spaces ends where another
// alphabet begins, unless a full stop came before. Two full stops in a row belong to no word.
std::size_t Scanner::wordEnd(std::size_t begin) const {
  std::size_t end = begin;
  bool hasDot = false;
  bool isAfterUnspaced = false;
  while (end < _text.size()) {
    const char byte = _text[end];
    if (isAscii(byte)) {
      if (byte == '.' && byteAt(end + 1) == '.') break;
      if (!LinkText::kWord.contains(byte)) break;
      if (isAfterUnspaced && !hasDot && LinkText::kAlphanumeric.contains(byte)) break;
      hasDot = hasDot || byte == '.';
      isAfterUnspaced = false;
      ++end;
      continue;
    }
    const std::size_t partEnd = foreignWordPartEnd(end);
    if (partEnd == end) break;
    hasDot = hasDot || LinkText::foreignDotEnd(_text, end) != end;
    isAfterUnspaced = LinkText::isUnspacedScript(scalarAt(_text, end).value);
    end = partEnd;
  }
  return end;
}

// The end of the letter, the full stop between ASCII letters or the symbols before a full stop that begin at
// `position`, which is returned when none of them is there.
std::size_t Scanner::foreignWordPartEnd(std::size_t position) const {
  const Scalar scalar = scalarAt(_text, position);
  if (LinkText::isWordScalar(scalar.value)) return scalar.end;
  const std::size_t dotEnd = LinkText::foreignDotEnd(_text, position);
  const bool isAfterLetter = position > 0 && LinkText::kAlphanumeric.contains(_text[position - 1]);
  if (dotEnd != position) return isAfterLetter && LinkText::kAlphanumeric.contains(byteAt(dotEnd)) ? dotEnd : position;
  const std::size_t symbolsEnd = LinkText::symbolsEnd(_text, position);
  return byteAt(symbolsEnd) == '.' && LinkText::kAlphanumeric.contains(byteAt(symbolsEnd + 1)) ? symbolsEnd : position;
}

}  // namespace

std::vector<LinkDetector::Link> LinkDetector::links(std::string_view text) const {
  std::vector<Link> result;
  if (!mayHoldLink(text)) return result;
  Scanner scanner(text);
  for (auto link = scanner.next(); link; link = scanner.next()) result.push_back(std::move(*link));
  return result;
}

bool LinkDetector::containsLink(std::string_view text) const {
  return mayHoldLink(text) && Scanner(text).next().has_value();
}

}  // namespace pellora
