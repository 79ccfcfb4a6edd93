// The text of links: the characters that links are made of, and where the part after the host ends. Pure functions,
// callable from any thread. Tested by Tests/Core/LinkDetectorTests.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The characters that links are made of, and how they are read from a text at a byte offset. Every function looks at a
// bounded number of bytes.
namespace pellora::LinkText {

class ByteSet {
 public:
  enum class With { these, alphanumerics };

  constexpr explicit ByteSet(std::string_view bytes, With with = With::these) {
    for (const char byte : bytes) _isIn[static_cast<unsigned char>(byte)] = true;
    for (unsigned byte = 0; with == With::alphanumerics && byte < 128; ++byte)
      if ((byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'))
        _isIn[byte] = true;
  }
  constexpr bool contains(char byte) const { return _isIn[static_cast<unsigned char>(byte)]; }

 private:
  std::array<bool, 256> _isIn{};
};

inline constexpr ByteSet kAlphanumeric{"", ByteSet::With::alphanumerics};
inline constexpr ByteSet kDigit{"0123456789"};
inline constexpr ByteSet kWord{"-_.", ByteSet::With::alphanumerics};  // of host names

constexpr bool isAscii(char byte) {
  return static_cast<unsigned char>(byte) < 0x80;
}

inline constexpr char32_t kNoScalar = 0xFFFFFFFF;

struct Scalar {
  char32_t value = kNoScalar;  // kNoScalar: invalid bytes
  std::size_t end = 0;         // the offset after it; before it for scalarBefore
};

Scalar scalarAt(std::string_view text, std::size_t position);
Scalar scalarBefore(std::string_view text, std::size_t position);

// Zero past the text's end.
inline char byteAt(std::string_view text, std::size_t position) {
  return position < text.size() ? text[position] : '\0';
}

// A letter, mark or number of any script.
bool isWordScalar(char32_t scalar);

// Emoji with what joins and colors them, and other symbols.
bool isSymbol(char32_t scalar);

// Han, Kana, Hangul, Thai and the like: written without spaces between words or before other scripts.
bool isUnspacedScript(char32_t scalar);

// Punctuation that belongs to a word when it is inside it: hyphens, the apostrophe, middle dots.
bool isInnerPunctuation(char32_t scalar);

// The end of the symbols that begin at `position`, which is returned when none is there or too many are.
std::size_t symbolsEnd(std::string_view text, std::size_t position);

// The end of the full stop at `position` when it is one that browsers read as "." in a host name but is not ASCII; else
// `position`.
std::size_t foreignDotEnd(std::string_view text, std::size_t position);

// With "." for every foreign full stop.
std::string withPlainDots(std::string_view host);

bool startsWithAscii(std::string_view text, std::string_view lowerCase);
bool equalsAscii(std::string_view text, std::string_view lowerCase);
bool endsWithAscii(std::string_view text, std::string_view lowerCase);

// With everything percent-encoded that an address cannot hold.
std::string percentEncoded(std::string_view text);

}  // namespace pellora::LinkText

namespace pellora {

// Where path, query and fragment of a link end in a text: before white space, quotes, a bracket without its partner
// inside the link, and punctuation that ends a sentence; letters of every script belong to them, and so do symbols
// inside them. One object per text, which must outlive it; time is in proportion to the text's length.
// Tested by Tests/Core/LinkDetectorTests.cpp.
class LinkTail {
 public:
  explicit LinkTail(std::string_view text) : _text(text) {}

  // The end of what follows the host that ends at `begin`, which is returned when nothing does. `linkBegin` is where
  // the whole link begins.
  std::size_t endFrom(std::size_t begin, std::size_t linkBegin);

 private:
  std::size_t characterEnd(std::size_t linkBegin, std::size_t position);
  std::size_t asciiEnd(std::size_t linkBegin, std::size_t position) const;
  std::size_t foreignEnd(std::size_t position) const;
  std::size_t trimmedEnd(std::size_t linkBegin, std::size_t begin, std::size_t end) const;
  std::uint32_t bracketPartner(std::size_t position);

  std::string_view _text;
  std::vector<std::uint32_t> _partners;  // by position of a bracket; made when the first one is met
};

}  // namespace pellora
