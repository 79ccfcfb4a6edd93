// Appends JSON to one text: one line, no added white space, characters beyond ASCII as they are in UTF-8, control
// characters escaped. Members come out in the order in which they are written: writing them sorted is the
// caller's part. Text that is not valid UTF-8 is repaired.
// Tested by Tests/Core/ExchangeCodingTests.cpp.
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

  void string(std::string_view value);
  // As `string`, for what needs no escaping.
  void plainString(std::string_view value);
  void integer(std::int64_t value);
  void boolean(bool value);

  std::string take() && { return std::move(_text); }

 private:
  void separate();
  void open(char bracket);
  void close(char bracket);
  void appendEscaped(std::string_view value);

  std::string _text;
  bool _needsComma = false;
};

}  // namespace pellora
