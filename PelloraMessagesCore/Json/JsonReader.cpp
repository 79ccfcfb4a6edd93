#include "PelloraMessagesCore/Json/JsonReader.h"

#include <charconv>
#include <vector>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isControl(char character) {
  return static_cast<unsigned char>(character) < 0x20;
}

void appendUtf8(std::string& text, std::uint32_t scalar) {
  if (scalar < 0x80) {
    text += static_cast<char>(scalar);
    return;
  }
  if (scalar < 0x800) {
    text += static_cast<char>(0xC0 | scalar >> 6);
  } else {
    if (scalar < 0x10000) {
      text += static_cast<char>(0xE0 | scalar >> 12);
    } else {
      text += static_cast<char>(0xF0 | scalar >> 18);
      text += static_cast<char>(0x80 | (scalar >> 12 & 0x3F));
    }
    text += static_cast<char>(0x80 | (scalar >> 6 & 0x3F));
  }
  text += static_cast<char>(0x80 | (scalar & 0x3F));
}

}  // namespace

JsonReader::JsonReader(std::string_view json) : _json(json) {
  if (json.starts_with(kByteOrderMark)) _position = kByteOrderMark.size();
}

void JsonReader::skipSpace() {
  while (_position < _json.size()) {
    const char next = _json[_position];
    if (next != ' ' && next != '\n' && next != '\r' && next != '\t') return;
    ++_position;
  }
}

bool JsonReader::take(char character) {
  skipSpace();
  if (_position >= _json.size() || _json[_position] != character) return false;
  ++_position;
  return true;
}

bool JsonReader::takeWord(std::string_view word) {
  skipSpace();
  if (!_json.substr(_position).starts_with(word)) return false;
  _position += word.size();
  return true;
}

bool JsonReader::readText(std::string_view& value) {
  if (!take('"')) return false;
  const std::size_t begin = _position;
  unsigned char anyHighBit = 0;
  for (; _position < _json.size(); ++_position) {
    const char next = _json[_position];
    if (next == '"') {
      value = _json.substr(begin, _position - begin);
      ++_position;
      return (anyHighBit & 0x80) == 0 || text::isValidUtf8(value);
    }
    if (next == '\\') {
      if (!readEscapes(begin)) return false;
      value = _scratch;
      return text::isValidUtf8(value);
    }
    if (isControl(next)) return false;
    anyHighBit |= static_cast<unsigned char>(next);
  }
  return false;
}

// The rest of a string from its first backslash on, appended to the part before it, into `_scratch`.
bool JsonReader::readEscapes(std::size_t begin) {
  _scratch.assign(_json.substr(begin, _position - begin));
  while (_position < _json.size()) {
    const char next = _json[_position++];
    if (next == '"') return true;
    if (isControl(next)) return false;
    if (next != '\\')
      _scratch += next;
    else if (!readEscape())
      return false;
  }
  return false;
}

bool JsonReader::readEscape() {
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (_position >= _json.size()) return false;
  const char letter = _json[_position++];
  if (letter == 'u') return readUnicodeEscape();
  const std::size_t index = kLetters.find(letter);
  if (index == std::string_view::npos) return false;
  _scratch += kMeanings[index];
  return true;
}

bool JsonReader::readUnicodeEscape() {
  std::uint32_t unit = 0;
  if (!readHex4(unit)) return false;
  if (unit >= 0xDC00 && unit <= 0xDFFF) return false;
  if (unit >= 0xD800 && unit <= 0xDBFF) {
    std::uint32_t low = 0;
    if (!_json.substr(_position).starts_with("\\u")) return false;
    _position += 2;
    if (!readHex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
    unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
  }
  appendUtf8(_scratch, unit);
  return true;
}

bool JsonReader::readHex4(std::uint32_t& unit) {
  constexpr std::size_t kDigits = 4;
  const std::string_view digits = _json.substr(_position, kDigits);
  if (digits.size() != kDigits) return false;
  const char* const begin = digits.data();
  const char* const end = begin + kDigits;
  const auto [stop, error] = std::from_chars(begin, end, unit, 16);
  _position += kDigits;
  return error == std::errc() && stop == end;
}

bool JsonReader::readString(std::string& value) {
  std::string_view view;
  if (!readText(view)) return false;
  value.assign(view);
  return true;
}

bool JsonReader::takeDigits() {
  const std::size_t begin = _position;
  while (_position < _json.size() && isDigit(_json[_position])) ++_position;
  return _position > begin;
}

bool JsonReader::takeNumber(std::string_view& number, bool& isPlain) {
  skipSpace();
  const std::size_t begin = _position;
  const auto next = [&] { return _position < _json.size() ? _json[_position] : '\0'; };
  isPlain = true;
  if (next() == '-') ++_position;
  if (next() == '0')
    ++_position;
  else if (!takeDigits())
    return false;
  if (next() == '.') {
    isPlain = false;
    ++_position;
    if (!takeDigits()) return false;
  }
  if (next() == 'e' || next() == 'E') {
    isPlain = false;
    ++_position;
    if (next() == '+' || next() == '-') ++_position;
    if (!takeDigits()) return false;
  }
  number = _json.substr(begin, _position - begin);
  return true;
}

bool JsonReader::readInteger(std::int64_t& value) {
  std::string_view number;
  bool isPlain = true;
  if (!takeNumber(number, isPlain)) return false;
  const char* const begin = number.data();
  const char* const end = begin + number.size();
  if (isPlain) return std::from_chars(begin, end, value).ec == std::errc();
  double real = 0;
  if (std::from_chars(begin, end, real).ec != std::errc()) return false;
  if (!(real >= -kLargestExactInteger && real <= kLargestExactInteger)) return false;
  value = static_cast<std::int64_t>(real);
  return static_cast<double>(value) == real;
}

bool JsonReader::readBool(bool& value) {
  value = takeWord("true");
  return value || takeWord("false");
}

bool JsonReader::skipScalar() {
  std::string_view ignored;
  bool isPlain = true;
  if (_position >= _json.size()) return false;
  switch (_json[_position]) {
    case '"':
      return readText(ignored);
    case 't':
      return takeWord("true");
    case 'f':
      return takeWord("false");
    case 'n':
      return takeWord("null");
    default:
      return takeNumber(ignored, isPlain);
  }
}

bool JsonReader::skipValue() {
  std::vector<bool> isObject;  // of the brackets that are open, the outermost first
  const auto takeKey = [&] {
    std::string_view key;
    return readText(key) && take(':');
  };
  while (true) {
    if (take('[')) {
      isObject.push_back(false);
      if (!take(']')) continue;
      isObject.pop_back();
    } else if (take('{')) {
      isObject.push_back(true);
      if (!take('}')) {
        if (!takeKey()) return false;
        continue;
      }
      isObject.pop_back();
    } else if (!skipScalar()) {
      return false;
    }
    while (!isObject.empty() && !take(',')) {
      if (!take(isObject.back() ? '}' : ']')) return false;
      isObject.pop_back();
    }
    if (isObject.empty()) return true;
    if (isObject.back() && !takeKey()) return false;
  }
}

bool JsonReader::isAtEnd() {
  skipSpace();
  return _position == _json.size();
}

}  // namespace pellora
