// Looks at every window of a few neighbouring bytes of a text with a test that has no branches, in blocks of a fixed
// size that the compiler turns into vector instructions; the last block overlaps the one before, because short texts
// would otherwise spend their time on single bytes. Pure.
#pragma once

#include <cstddef>
#include <string_view>

namespace pellora {

// Whether `test(bytes)`, 0 or 1, is 1 at any offset that has kWindow bytes of the text behind it.
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
