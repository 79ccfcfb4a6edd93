// The digits of hexadecimal numbers, and a byte written with two of them.
#pragma once

#include <string>
#include <string_view>

namespace pellora {

inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";
inline constexpr std::string_view kUpperHexDigits = "0123456789ABCDEF";

inline void appendHex(std::string& text, unsigned char byte, std::string_view digits) {
  text += digits[byte >> 4U];
  text += digits[byte & 0xFU];
}

}  // namespace pellora
