#include "PelloraMessagesCore/Text/LinkHost.h"

#include <arpa/inet.h>
#include <libpsl.h>
#include <unicode/bytestream.h>
#include <unicode/idna.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

#include "PelloraMessagesCore/Text/LinkWords.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::LinkHost {

namespace {

constexpr std::size_t kMaximumLabelBytes = 63;

// "example.co.in" is a host although "in" is a word.
constexpr std::array<std::string_view, 7> kSharedSecondLevels = {"ac", "co", "com", "edu", "gov", "net", "org"};

static_assert(std::is_sorted(std::begin(LinkWords::kWords), std::end(LinkWords::kWords)));
static_assert(std::is_sorted(std::begin(LinkWords::kFileEndings), std::end(LinkWords::kFileEndings)));

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

// "Then" but not "then" or "COM": how a sentence begins.
bool isTitleCase(std::string_view word) {
  return word.size() > 1 && word[0] >= 'A' && word[0] <= 'Z' && text::isAscii(word) &&
         std::none_of(word.begin() + 1, word.end(), [](char byte) { return byte >= 'A' && byte <= 'Z'; });
}

bool isAsciiAlphanumeric(char32_t scalar) {
  return scalar < 0x80 && (isDigit(static_cast<char>(scalar)) || isLetter(static_cast<char>(scalar)));
}

}  // namespace

std::optional<std::string> ascii(std::string_view host) {
  // Four bytes of UTF-8 make at least one of punycode.
  if (host.size() > 4 * kMaximumBytes) return std::nullopt;
  if (text::isAscii(host)) return isValidAscii(host) ? std::optional(std::string(host)) : std::nullopt;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  icu::IDNAInfo info;
  UErrorCode status = U_ZERO_ERROR;
  if (idna() == nullptr) return std::nullopt;
  idna()->nameToASCII_UTF8(icu::StringPiece(host.data(), static_cast<std::int32_t>(host.size())), sink, info, status);
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

bool looksAccidental(std::string_view host) {
  const std::string_view ending = lastLabel(host);
  const std::string_view before = host.substr(0, host.size() - ending.size() - 1);
  const std::string domain = text::lowercased(ending);
  if (isTitleCase(ending) && domain != "com" && domain != "net" && domain != "org") return true;
  constexpr std::size_t kLongestNumber = 3;
  constexpr std::size_t kCountryCode = 2;
  if (before.size() <= kLongestNumber && domain.size() == kCountryCode &&
      std::all_of(before.begin(), before.end(), isDigit))
    return true;
  if (const std::size_t dot = before.rfind('.'); dot != std::string_view::npos)
    if (std::ranges::find(kSharedSecondLevels, text::lowercased(before.substr(dot + 1))) != kSharedSecondLevels.end())
      return false;
  return std::binary_search(std::begin(LinkWords::kWords), std::end(LinkWords::kWords), domain) ||
         std::binary_search(std::begin(LinkWords::kFileEndings), std::end(LinkWords::kFileEndings), domain);
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

bool isUnspacedScript(char32_t scalar) {
  if (scalar < 0x0E00) return false;
  UErrorCode status = U_ZERO_ERROR;
  switch (static_cast<int>(uscript_getScript(static_cast<UChar32>(scalar), &status))) {
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

std::string_view withoutTextBehind(std::string_view host) {
  if (text::isAscii(host) || host.size() > 4 * kMaximumBytes) return host;
  std::int32_t position = 0;
  UChar32 before = 0;
  while (static_cast<std::size_t>(position) < host.size()) {
    const auto begin = static_cast<std::size_t>(position);
    UChar32 scalar = 0;
    U8_NEXT(host.data(), position, static_cast<std::int32_t>(host.size()), scalar);
    if (scalar > 0 && isAsciiAlphanumeric(static_cast<char32_t>(before)) &&
        isUnspacedScript(static_cast<char32_t>(scalar))) {
      const std::string_view name = host.substr(0, begin);
      if (name.find('.') != std::string_view::npos && endsInTopLevelDomain(name)) return name;
    }
    before = scalar;
  }
  return host;
}

}  // namespace pellora::LinkHost
