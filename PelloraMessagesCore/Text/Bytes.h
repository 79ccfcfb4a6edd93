// Work on single bytes: hexadecimal digits, a hash, a quick look at every few neighboring bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace pellora {

// The digits of hexadecimal numbers, and a byte written with two of them.
inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";
inline constexpr std::string_view kUpperHexDigits = "0123456789ABCDEF";

inline void appendHex(std::string& text, unsigned char byte, std::string_view digits) {
  text += digits[byte >> 4U];
  text += digits[byte & 0xFU];
}

// The 64-bit FNV-1a hash: tells texts apart where nobody tries to make two of them look alike.
class Fnv1a {
 public:
  void add(std::string_view text) {
    for (const char byte : text) _hash = (_hash ^ static_cast<unsigned char>(byte)) * kPrime;
  }

  std::uint64_t hash() const { return _hash; }

 private:
  static constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325;
  static constexpr std::uint64_t kPrime = 0x100000001b3;

  std::uint64_t _hash = kOffsetBasis;
};

// Looks at every window of a few neighboring bytes of a text with a test that has no branches, in blocks of a fixed
// size that the compiler turns into vector instructions; the last block overlaps the one before, because short texts
// would otherwise spend their time on single bytes. Pure. The result says whether `test(bytes)`, 0 or 1, is 1 at any
// offset that has kWindow bytes of the text after it.
template <std::size_t kWindow, class Test>
bool holdsByteWindow(std::string_view text, Test test) {
  constexpr std::size_t kBlock = 16;
  if (text.size() < kWindow) return false;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t count = text.size() - (kWindow - 1);
  unsigned char hits = 0;
  if (count < kBlock) {
    for (std::size_t index = 0; index < count; ++index) hits |= static_cast<unsigned char>(test(bytes + index));
    return hits != 0;
  }
  const auto look = [&](std::size_t begin) {
    for (std::size_t index = 0; index < kBlock; ++index)
      hits |= static_cast<unsigned char>(test(bytes + begin + index));
  };
  for (std::size_t begin = 0; begin + kBlock <= count; begin += kBlock) look(begin);
  look(count - kBlock);
  return hits != 0;
}

}  // namespace pellora
