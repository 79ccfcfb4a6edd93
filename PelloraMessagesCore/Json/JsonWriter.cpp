#include "PelloraMessagesCore/Json/JsonWriter.h"

#include <charconv>
#include <cmath>

#include "PelloraMessagesCore/Text/Bytes.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

bool needsEscape(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\';
}

void appendEscape(std::string& text, char byte) {
  switch (byte) {
    case '"':
      text += "\\\"";
      return;
    case '\\':
      text += "\\\\";
      return;
    case '\b':
      text += "\\b";
      return;
    case '\f':
      text += "\\f";
      return;
    case '\n':
      text += "\\n";
      return;
    case '\r':
      text += "\\r";
      return;
    case '\t':
      text += "\\t";
      return;
    default:
      text += "\\u00";
      appendHex(text, static_cast<unsigned char>(byte), kLowerHexDigits);
  }
}

}  // namespace

void JsonWriter::separate() {
  if (_needsComma) _text += ',';
  _needsComma = true;
}

void JsonWriter::open(char bracket) {
  separate();
  _text += bracket;
  _needsComma = false;
}

void JsonWriter::close(char bracket) {
  _text += bracket;
  _needsComma = true;
}

void JsonWriter::key(std::string_view name) {
  separate();
  _text += '"';
  _text += name;
  _text += "\":";
  _needsComma = false;
}

void JsonWriter::appendEscaped(std::string_view value) {
  std::size_t copied = 0;
  for (std::size_t position = 0; position < value.size(); ++position) {
    if (!needsEscape(value[position])) continue;
    _text += value.substr(copied, position - copied);
    appendEscape(_text, value[position]);
    copied = position + 1;
  }
  _text += value.substr(copied);
}

void JsonWriter::appendQuoted(std::string_view value) {
  _text += '"';
  if (text::isValidUtf8(value))
    appendEscaped(value);
  else
    appendEscaped(text::repairedUtf8(value));
  _text += '"';
}

void JsonWriter::foreignKey(std::string_view name) {
  separate();
  appendQuoted(name);
  _text += ':';
  _needsComma = false;
}

void JsonWriter::string(std::string_view value) {
  separate();
  appendQuoted(value);
}

void JsonWriter::plainString(std::string_view value) {
  separate();
  _text += '"';
  _text += value;
  _text += '"';
}

void JsonWriter::integer(std::int64_t value) {
  separate();
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  _text.append(digits, end);
}

void JsonWriter::number(double value) {
  if (!std::isfinite(value)) {
    null();
    return;
  }
  separate();
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  _text.append(digits, end);
}

void JsonWriter::boolean(bool value) {
  separate();
  _text += value ? "true" : "false";
}

void JsonWriter::null() {
  separate();
  _text += "null";
}

}  // namespace pellora
