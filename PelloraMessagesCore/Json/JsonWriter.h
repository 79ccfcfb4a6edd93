// Writes JSON as one text: a single line without added white space, characters beyond ASCII in plain UTF-8, control
// characters escaped. Members appear in the order in which they are written: sorting them is up to the caller. Text
// that is not valid UTF-8 is repaired.
// Tested by Tests/Core/ExchangeCodingTests.cpp and Tests/Core/JsonValueTests.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace pellora {

class JsonWriter {
 public:
  void reserve(std::size_t bytes) { _text.reserve(bytes); }

  void beginObject() { open('{'); }
  void endObject() { close('}'); }
  void beginArray() { open('['); }
  void endArray() { close(']'); }

  // The next value belongs to this key, which is plain ASCII without quotes and backslashes.
  void key(std::string_view name);
  // As `key`, for any text.
  void foreignKey(std::string_view name);

  void string(std::string_view value);
  // As `string`, for text that needs no escaping.
  void plainString(std::string_view value);
  void integer(std::int64_t value);
  // The shortest digits that read back as the same number; null when it is not finite.
  void number(double value);
  void boolean(bool value);
  void null();

  std::string take() && { return std::move(_text); }

 private:
  void separate();
  void open(char bracket);
  void close(char bracket);
  void appendQuoted(std::string_view value);
  void appendEscaped(std::string_view value);

  std::string _text;
  bool _needsComma = false;
};

}  // namespace pellora
