#include "PelloraMessagesCore/Text/LinkHost.h"

#include <arpa/inet.h>
#include <libpsl.h>
#include <unicode/bytestream.h>
#include <unicode/idna.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <utility>

#include "PelloraMessagesCore/Text/LinkText.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::LinkHost {

namespace {

using LinkText::byteAt;
using LinkText::Scalar;
using LinkText::scalarAt;

constexpr std::size_t kMaximumLabelBytes = 63;
constexpr std::size_t kMaximumUtf8Bytes = 4 * kMaximumBytes;  // four bytes of UTF-8 make at least one of punycode

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

bool isLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

std::string_view lastLabel(std::string_view host) {
  return host.substr(host.rfind('.') + 1);  // npos + 1 is 0
}

const icu::IDNA* idna() {
  UErrorCode status = U_ZERO_ERROR;
  static const std::unique_ptr<const icu::IDNA> instance(
      icu::IDNA::createUTS46Instance(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ, status));
  return instance.get();
}

bool isValidLabel(std::string_view label) {
  if (label.empty() || label.size() > kMaximumLabelBytes || label.front() == '-' || label.back() == '-') return false;
  return std::all_of(label.begin(), label.end(),
                     [](char byte) { return isDigit(byte) || isLetter(byte) || byte == '-' || byte == '_'; });
}

bool isValidAscii(std::string_view host) {
  if (host.empty() || host.size() > kMaximumBytes) return false;
  while (true) {
    const std::size_t dot = host.find('.');
    if (!isValidLabel(host.substr(0, dot))) return false;
    if (dot == std::string_view::npos) return true;
    host.remove_prefix(dot + 1);
  }
}

bool isUpperCase(char byte) {
  return byte >= 'A' && byte <= 'Z';
}

bool isLowerCase(char byte) {
  return byte >= 'a' && byte <= 'z';
}

// "Then" but not "then" or "COM": how a sentence begins.
bool isTitleCase(std::string_view word) {
  return word.size() > 1 && isUpperCase(word[0]) && text::isAscii(word) &&
         std::none_of(word.begin() + 1, word.end(), isUpperCase);
}

// "Oakland.CA": an abbreviation after a name.
bool isAbbreviationAfter(std::string_view before, std::string_view ending) {
  return std::all_of(ending.begin(), ending.end(), isUpperCase) &&
         std::any_of(before.begin(), before.end(), isLowerCase);
}

// The end of the characters of a host name at `begin`; two full stops in a row belong to no name.
std::size_t nameCharactersEnd(std::string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size()) {
    if (LinkText::isAscii(text[end])) {
      if (!LinkText::kWord.contains(text[end]) || (text[end] == '.' && byteAt(text, end + 1) == '.')) break;
      ++end;
      continue;
    }
    const Scalar scalar = scalarAt(text, end);
    const std::size_t dotEnd = LinkText::foreignDotEnd(text, end);
    if (dotEnd == end && !LinkText::isWordScalar(scalar.value) && !LinkText::isSymbol(scalar.value)) break;
    end = scalar.end;
  }
  return end;
}

// Without full stops, hyphens and low lines at its end.
std::string_view withoutEdge(std::string_view name) {
  while (!name.empty()) {
    const Scalar last = LinkText::scalarBefore(name, name.size());
    const bool isEdge = name.back() == '.' || name.back() == '-' || name.back() == '_' ||
                        LinkText::foreignDotEnd(name, last.end) != last.end;
    if (!isEdge) break;
    name = name.substr(0, last.end);
  }
  return name;
}

bool isKnownName(std::string_view name) {
  return name.find('.') != std::string_view::npos && endsInTopLevelDomain(name);
}

}  // namespace

std::optional<Found> nameAt(std::string_view text, std::size_t begin) {
  const std::size_t runEnd = nameCharactersEnd(text, begin);
  const std::string_view whole = withoutEdge(text.substr(begin, runEnd - begin));
  const std::string_view name = withoutTextBehind(whole);
  auto written = ascii(name);
  if (!written) return std::nullopt;
  const std::size_t end = begin + name.size();
  return Found{end, std::move(*written), end == runEnd};
}

std::size_t emptyLabelEnd(std::string_view text, std::size_t end) {
  if (byteAt(text, end) != '.') return end;
  const char next = byteAt(text, end + 1);
  const bool isPath = next == '/';
  const bool isOther = next == '?' || next == '#' || next == ':';
  return isPath || (isOther && LinkText::kAlphanumeric.contains(byteAt(text, end + 2))) ? end + 1 : end;
}

std::optional<Found> addressInBracketsAt(std::string_view text, std::size_t begin) {
  const std::size_t close = text.substr(0, std::min(text.size(), begin + INET6_ADDRSTRLEN + 2)).find(']', begin);
  if (close == std::string_view::npos || !isIPv6(text.substr(begin + 1, close - begin - 1))) return std::nullopt;
  return Found{close + 1, std::string(text.substr(begin, close + 1 - begin)), true};
}

std::optional<std::string> ascii(std::string_view host) {
  if (host.size() > kMaximumUtf8Bytes) return std::nullopt;
  if (text::isAscii(host)) return isValidAscii(host) ? std::optional(std::string(host)) : std::nullopt;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  icu::IDNAInfo info;
  UErrorCode status = U_ZERO_ERROR;
  if (idna() == nullptr) return std::nullopt;
  const std::string plain = LinkText::withPlainDots(host);
  idna()->nameToASCII_UTF8(icu::StringPiece(plain.data(), static_cast<std::int32_t>(plain.size())), sink, info, status);
  if (U_FAILURE(status) || info.hasErrors() || !isValidAscii(result)) return std::nullopt;
  return result;
}

bool endsInTopLevelDomain(std::string_view host) {
  const std::string_view label = lastLabel(host);
  if (label.size() < 2 || label.size() > kMaximumLabelBytes || isDigit(label[0])) return false;
  const auto name = ascii(label);
  if (!name) return false;
  const std::string domain = text::lowercased(*name);
  return psl_is_public_suffix2(psl_builtin(), domain.c_str(), PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE) == 1;
}

bool isMeant(std::string_view host) {
  const std::string plain = LinkText::withPlainDots(host);
  const std::string_view ending = lastLabel(plain);
  const std::string_view before = std::string_view(plain).substr(0, plain.size() - ending.size() - 1);
  const std::string_view label = lastLabel(before);
  const std::string domain = text::lowercased(ascii(ending).value_or(std::string()));
  if (text::isOneOf(domain, LinkWords::kCommonDomains)) return true;
  if (isTitleCase(ending) || isAbbreviationAfter(before, ending)) return false;
  constexpr std::size_t kCountryCode = 2;
  if (domain.size() == kCountryCode && label.size() < before.size() &&
      text::isOneOf(text::lowercased(label), LinkWords::kSharedSecondLevels))
    return true;
  if (!text::isOneOf(domain, LinkWords::kOtherDomains)) return false;
  return text::characterCount(label) > 1 && !std::all_of(label.begin(), label.end(), isDigit) &&
         !text::isOneOf(text::lowercased(label), LinkWords::kChatWords);
}

bool isIPv4(std::string_view host) {
  std::array<unsigned char, sizeof(in_addr)> parsed{};
  if (host.find('\0') != std::string_view::npos) return false;  // the parser below would stop there
  return host.size() >= 7 && host.size() <= 15 && inet_pton(AF_INET, std::string(host).c_str(), parsed.data()) == 1;
}

bool isIPv6(std::string_view address) {
  std::array<unsigned char, sizeof(in6_addr)> parsed{};
  if (address.find('\0') != std::string_view::npos) return false;
  return address.size() < INET6_ADDRSTRLEN && inet_pton(AF_INET6, std::string(address).c_str(), parsed.data()) == 1;
}

std::string_view withoutTextBehind(std::string_view host) {
  if (text::isAscii(host) || host.size() > kMaximumUtf8Bytes) return host;
  if (isKnownName(LinkText::withPlainDots(host))) return host;
  std::string_view longest = host;
  bool isAfterUnspaced = true;
  for (std::size_t position = 0; position < host.size();) {
    const Scalar scalar = scalarAt(host, position);
    const bool isUnspaced = LinkText::isUnspacedScript(scalar.value);
    const bool mayEnd = LinkText::isSymbol(scalar.value) || LinkText::foreignDotEnd(host, position) != position ||
                        (isUnspaced && !isAfterUnspaced);
    if (mayEnd && isKnownName(LinkText::withPlainDots(host.substr(0, position)))) longest = host.substr(0, position);
    isAfterUnspaced = isUnspaced;
    position = scalar.end;
  }
  return longest;
}

std::optional<std::size_t> portEnd(std::string_view text, std::size_t begin) {
  constexpr unsigned kLargestPort = 65'535;
  if (byteAt(text, begin) != ':') return begin;
  unsigned port = 0;
  std::size_t end = begin + 1;
  for (; isDigit(byteAt(text, end)); ++end)
    port = std::min(port * 10 + static_cast<unsigned>(text[end] - '0'), 100'000U);
  if (end == begin + 1) return byteAt(text, end) == '/' ? end : begin;
  if (LinkText::kAlphanumeric.contains(byteAt(text, end))) return begin;
  if (port > kLargestPort) return std::nullopt;
  return end;
}

}  // namespace pellora::LinkHost
