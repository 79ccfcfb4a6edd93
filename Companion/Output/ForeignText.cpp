#include "Companion/Output/ForeignText.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <limits>
#include <memory>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::foreign_text {

namespace {

constexpr char kEscape = '\x1B';  // begins the shifts of seven-bit charsets
constexpr std::size_t kLargest = std::numeric_limits<std::int32_t>::max() / 4;

struct ByteOrder {
  std::string_view mark;
  const char* charset;  // null: UTF-8
};

using namespace std::string_view_literals;

// The longer marks first: UTF-32's begins like UTF-16's.
constexpr ByteOrder kByteOrders[] = {
    {"\xEF\xBB\xBF"sv, nullptr}, {"\xFF\xFE\0\0"sv, "UTF-32LE"}, {"\0\0\xFE\xFF"sv, "UTF-32BE"},
    {"\xFF\xFE"sv, "UTF-16LE"},  {"\xFE\xFF"sv, "UTF-16BE"},
};

std::optional<std::string> converted(std::string_view bytes, const std::string& charset) {
  if (bytes.size() > kLargest) return std::nullopt;
  UErrorCode error = U_ZERO_ERROR;
  const auto length = static_cast<std::int32_t>(bytes.size());
  const std::int32_t size = ucnv_convert("UTF-8", charset.c_str(), nullptr, 0, bytes.data(), length, &error);
  if (error != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(error)) return std::nullopt;
  std::string result(static_cast<std::size_t>(size), '\0');
  error = U_ZERO_ERROR;
  ucnv_convert("UTF-8", charset.c_str(), result.data(), size, bytes.data(), length, &error);
  if (U_FAILURE(error)) return std::nullopt;
  return result;
}

// UTF-16 without its mark shows in the zeros of its ASCII: many, and nearly all on one side of the pairs. An address
// book in any language has digits and separators; a few zeros are damage.
const char* unmarkedCharset(std::string_view bytes) {
  constexpr std::size_t kClearly = 4;      // times as many on one side
  constexpr std::size_t kFewestOfAll = 8;  // at least one pair in this many has a zero
  if (bytes.size() % 2 != 0) return nullptr;
  std::size_t zeros[2] = {0, 0};
  for (std::size_t at = 0; at < bytes.size(); ++at)
    if (bytes[at] == '\0') ++zeros[at % 2];
  if ((zeros[0] + zeros[1]) * kFewestOfAll < bytes.size() / 2) return nullptr;
  if (zeros[1] > kClearly * zeros[0]) return "UTF-16LE";
  if (zeros[0] > kClearly * zeros[1]) return "UTF-16BE";
  return nullptr;
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

bool is(std::string_view charset, std::string_view name) {
  return text::equalIgnoringCase(charset, name);
}

}  // namespace

namespace {

std::string inUtf8(std::string_view bytes) {
  for (const ByteOrder& order : kByteOrders) {
    if (!bytes.starts_with(order.mark)) continue;
    const std::string_view rest = bytes.substr(order.mark.size());
    if (order.charset == nullptr) return std::string(rest);
    return converted(rest, order.charset).value_or(std::string(rest));
  }
  if (const char* charset = unmarkedCharset(bytes)) return converted(bytes, charset).value_or(std::string(bytes));
  return std::string(bytes);
}

}  // namespace

std::string withoutByteOrder(std::string_view bytes) {
  std::string text = inUtf8(bytes);
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::size_t end = 0;
  for (std::size_t at = 0; at < text.size();) {
    const bool beginsLine = end == 0 || text[end - 1] == '\n' || text[end - 1] == '\r';
    if (beginsLine && std::string_view(text).substr(at).starts_with(kMark))
      at += kMark.size();
    else
      text[end++] = text[at++];
  }
  text.resize(end);
  return text;
}

namespace {

struct LocalCharset {
  std::string_view locales;  // languages, or languages with their country, between spaces
  const char* charset;
};

// The countries that differ from their language's others come first.
constexpr LocalCharset kLocalCharsets[] = {
    {" zh_TW zh_HK zh_MO ", "windows-950"},
    {" zh ", "GB18030"},
    {" ja ", "windows-31j"},
    {" ko ", "windows-949"},
    {" th ", "windows-874"},
    {" bs pl cs sk hu sl hr ro sq ", "windows-1250"},
    {" ru uk be bg mk sr ", "windows-1251"},
    {" el ", "windows-1253"},
    {" tr az ", "windows-1254"},
    {" he iw yi ", "windows-1255"},
    {" ar fa ur ", "windows-1256"},
    {" lt lv et ", "windows-1257"},
    {" vi ", "windows-1258"},
};

bool names(std::string_view list, std::string_view locale) {
  return !locale.empty() && list.find(" " + std::string(locale) + " ") != std::string_view::npos;
}

}  // namespace

const char* charsetOf(std::string_view locale) {
  const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
  const std::string_view country = locale.substr(0, locale.find_first_of(".@"));
  for (const LocalCharset& each : kLocalCharsets)
    if (names(each.locales, country) || names(each.locales, language)) return each.charset;
  return kWestern;
}

std::string utf8(std::string_view bytes, const char* charset) {
  if (text::isValidUtf8(bytes)) return std::string(bytes);
  const auto text = converted(bytes, charset);
  return text ? text::repairedUtf8(*text) : text::repairedUtf8(bytes);
}

std::string fromCharset(std::string_view bytes, std::string_view charset, bool isBelieved, const char* usual) {
  const bool isShifted = bytes.find(kEscape) != std::string_view::npos;
  if (charset.empty() || is(charset, "UTF-8") || is(charset, "UTF8")) return utf8(bytes, usual);
  if (text::isAscii(bytes) && !isShifted && !charset.starts_with("UTF-") && !charset.starts_with("utf-"))
    return std::string(bytes);
  if (!isBelieved && !isShifted && text::isValidUtf8(bytes)) return std::string(bytes);
  // Windows-1252 has Latin-1's letters and, where that has control characters, what was meant.
  if (is(charset, "ISO-8859-1") || is(charset, "ISO8859-1") || is(charset, "LATIN1") || is(charset, "US-ASCII"))
    return converted(bytes, "windows-1252").value_or(utf8(bytes, usual));
  const auto declared = converted(bytes, std::string(charset));
  return declared ? text::repairedUtf8(*declared) : utf8(bytes, usual);
}

std::string quotedPrintableDecoded(std::string_view text) {
  // A soft line break at the end means nothing.
  if (text.ends_with('=')) text.remove_suffix(1);
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t position = 0; position < text.size(); ++position) {
    const bool hasTwoMore = text.size() - position > 2;
    const int high = text[position] == '=' && hasTwoMore ? hexValue(text[position + 1]) : -1;
    const int low = high >= 0 ? hexValue(text[position + 2]) : -1;
    if (low < 0) {
      bytes += text[position];
      continue;
    }
    bytes += static_cast<char>(high << 4 | low);
    position += 2;
  }
  return bytes;
}

std::string onOneLine(std::string_view text) {
  const std::string valid = text::repairedUtf8(text);
  std::string line;
  bool needsSpace = false;
  std::int32_t position = 0;
  const auto length = static_cast<std::int32_t>(valid.size());
  while (position < length) {
    const std::int32_t begin = position;
    UChar32 scalar = 0;
    U8_NEXT(valid.data(), position, length, scalar);
    if (scalar < 0 || u_iscntrl(scalar) || u_isUWhiteSpace(scalar)) {
      // U+200D and other format characters count as control characters here but belong to their neighbors.
      if (scalar >= 0 && u_charType(scalar) == U_FORMAT_CHAR) {
        line.append(valid, static_cast<std::size_t>(begin), static_cast<std::size_t>(position - begin));
        continue;
      }
      needsSpace = !line.empty();
      continue;
    }
    if (needsSpace) line += ' ';
    needsSpace = false;
    line.append(valid, static_cast<std::size_t>(begin), static_cast<std::size_t>(position - begin));
  }
  return line;
}

}  // namespace pellora::foreign_text
