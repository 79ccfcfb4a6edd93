// Reads JSON (RFC 8259) from front to back into typed values, without building a tree: the day notes are read
// whole on every read. Every function returns false when the text there is something else or is not well
// formed, and from then on the reader is of no more use. Total: any bytes end in true or false, in linear time,
// with no recursion over foreign nesting. Strings must be valid UTF-8; a byte order mark at the front is skipped.
// Tested by Tests/Core/JsonReaderTests.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace pellora {

// 2^53: a double holds every whole number up to this one exactly.
inline constexpr double kLargestExactInteger = 9007199254740992.0;

class JsonReader {
 public:
  // The text must outlive the reader.
  explicit JsonReader(std::string_view json);

  // Calls `readMember(key)` for each member, which must read the value; false from it ends the reading. The key's
  // view ends with the next call to the reader.
  template <class ReadMember>
  bool readObject(ReadMember readMember) {
    if (!take('{')) return false;
    if (take('}')) return true;
    do {
      std::string_view key;
      if (!readText(key) || !take(':') || !readMember(key)) return false;
    } while (take(','));
    return take('}');
  }

  // Calls `readElement()` for each element, likewise.
  template <class ReadElement>
  bool readArray(ReadElement readElement) {
    if (!take('[')) return false;
    if (take(']')) return true;
    do {
      if (!readElement()) return false;
    } while (take(','));
    return take(']');
  }

  bool readString(std::string& value);
  // The view ends with the next call to the reader.
  bool readText(std::string_view& value);
  // A number that is whole and fits, however it is written (1, 1.0, 1e3); beyond 2^53 with digits only.
  bool readInteger(std::int64_t& value);
  bool readBool(bool& value);
  bool readNull() { return takeWord("null"); }

  // Any one well-formed value, as deep as it may be.
  bool skipValue();

  // Nothing but white space is left.
  bool isAtEnd();

 private:
  void skipSpace();
  bool take(char character);
  bool takeWord(std::string_view word);
  bool takeNumber(std::string_view& number, bool& isPlain);
  bool takeDigits();
  bool readEscapes(std::size_t begin);
  bool readEscape();
  bool readUnicodeEscape();
  bool readHex4(std::uint32_t& unit);
  bool skipScalar();

  std::string_view _json;
  std::size_t _position = 0;
  std::string _scratch;  // the last string that had escapes
};

}  // namespace pellora
