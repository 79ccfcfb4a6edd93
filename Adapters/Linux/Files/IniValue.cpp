#include "Adapters/Linux/Files/IniValue.h"

#include <QString>
#include <algorithm>
#include <array>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::IniValue {

namespace {

struct Escape {
  char letter;
  char16_t character;
};

constexpr std::array<Escape, 7> kEscapes{
    {{'a', u'\a'}, {'b', u'\b'}, {'f', u'\f'}, {'n', u'\n'}, {'r', u'\r'}, {'t', u'\t'}, {'v', u'\v'}}};
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlank = " \t\r\n\v\f";

bool isAsciiAlphanumeric(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

void appendHex(std::string& out, unsigned value, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) out += kHexDigits[(value >> shift) & 15U];
}

int digitValue(char c, int base) {
  int value = 99;
  if (c >= '0' && c <= '9') value = c - '0';
  if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
  if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
  return value < base ? value : -1;
}

// The character numbered by digits at `at`, which is moved behind them.
char16_t numberedCharacter(std::string_view raw, std::size_t& at, int base) {
  unsigned value = 0;
  for (; at < raw.size() && digitValue(raw[at], base) >= 0; ++at)
    value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digitValue(raw[at], base));
  return static_cast<char16_t>(value);
}

// What stands behind the backslash at `at`, which is moved behind it. An unknown escape stands for nothing.
void appendEscaped(QString& out, std::string_view raw, std::size_t& at) {
  ++at;
  if (at >= raw.size()) return;
  const char letter = raw[at];
  if (digitValue(letter, 8) >= 0) {
    out += QChar(numberedCharacter(raw, at, 8));
    return;
  }
  ++at;
  if (letter == 'x') {
    if (at < raw.size() && digitValue(raw[at], 16) >= 0) out += QChar(numberedCharacter(raw, at, 16));
  } else if (letter == '"' || letter == '\'' || letter == '?' || letter == '\\') {
    out += QLatin1Char(letter);
  } else if (raw.substr(at - 1, 2) == "\r\n" || raw.substr(at - 1, 2) == "\n\r") {
    ++at;
  } else {
    for (const Escape& escape : kEscapes)
      if (escape.letter == letter) out += QChar(escape.character);
  }
}

std::size_t endOfValue(std::string_view raw) {
  bool quoted = false;
  for (std::size_t at = 0; at < raw.size(); ++at) {
    if (raw[at] == '\\') {
      ++at;
    } else if (raw[at] == '"') {
      quoted = !quoted;
    } else if (raw[at] == ';' && !quoted) {
      while (at > 0 && kBlank.find(raw[at - 1]) != std::string_view::npos) --at;
      return at;
    }
  }
  return raw.size();
}

// Texts that begin with '@' are marks of other kinds of values, unless the mark says that they are texts.
std::optional<QString> withoutMark(const QString& text) {
  if (!text.startsWith(QLatin1Char('@'))) return text;
  if (text.startsWith(QLatin1String("@@"))) return text.mid(1);
  if (!text.endsWith(QLatin1Char(')'))) return text;
  if (text.startsWith(QLatin1String("@String("))) return text.mid(8, text.size() - 9);
  for (const char* mark : {"@ByteArray(", "@Variant(", "@DateTime(", "@Rect(", "@Size(", "@Point("})
    if (text.startsWith(QLatin1String(mark))) return std::nullopt;
  if (text == QLatin1String("@Invalid()")) return std::nullopt;
  return text;
}

}  // namespace

std::string escapedKey(std::string_view key) {
  std::string result;
  for (const QChar character : QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()))) {
    const char16_t c = character.unicode();
    if (isAsciiAlphanumeric(c) || c == u'_' || c == u'-' || c == u'.') {
      result += static_cast<char>(c);
    } else if (c == u'/') {
      result += '\\';
    } else {
      result += c <= 0xFF ? "%" : "%U";
      appendHex(result, c, c <= 0xFF ? 2 : 4);
    }
  }
  return result;
}

std::string encoded(std::string_view text) {
  std::string result(text.starts_with('@') ? "@" : "");
  bool needsQuotes = text.empty() || text.front() == ' ' || text.back() == ' ';
  bool afterNumber = false;  // a digit behind a numbered character would become part of the number
  const std::string valid = text::repairedUtf8(text);
  for (std::size_t at = 0; at < valid.size(); ++at) {
    const char c = valid[at];
    if (valid.compare(at, kByteOrderMark.size(), kByteOrderMark) == 0) {
      // Readers would drop it where a run of plain characters begins.
      result += "\\xFEFF";
      at += kByteOrderMark.size() - 1;
      afterNumber = true;
      continue;
    }
    const bool control = (c >= 0 && c < ' ') || c == '\x7F';
    if (control || (afterNumber && digitValue(c, 16) >= 0)) {
      result += "\\x";
      appendHex(result, static_cast<unsigned char>(c), 2);
      afterNumber = true;
      continue;
    }
    afterNumber = false;
    needsQuotes = needsQuotes || c == ';' || c == ',' || c == '=';
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return needsQuotes ? '"' + result + '"' : result;
}

std::optional<std::string> decoded(std::string_view rawValue) {
  const std::string_view raw = rawValue.substr(0, endOfValue(rawValue));
  QString text;
  bool quoted = false;
  for (std::size_t at = 0; at < raw.size();) {
    const char c = raw[at];
    if (c == '\\') {
      appendEscaped(text, raw, at);
      continue;
    }
    if (c == ',' && !quoted) return std::nullopt;
    if (c == '"') {
      quoted = !quoted;
      ++at;
      continue;
    }
    const std::size_t end = std::min(raw.find_first_of("\\,\"", at + 1), raw.size());
    text += QString::fromUtf8(raw.data() + at, static_cast<qsizetype>(end - at));
    at = end;
  }
  if (quoted) return std::nullopt;
  const std::optional<QString> plain = withoutMark(text);
  if (!plain) return std::nullopt;
  return plain->toStdString();
}

std::string_view trailingComment(std::string_view rawValue) {
  return rawValue.substr(endOfValue(rawValue));
}

}  // namespace pellora::IniValue
