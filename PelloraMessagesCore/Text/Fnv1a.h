// The 64-bit FNV-1a hash: tells texts apart where nobody tries to make two of them look alike.
#pragma once

#include <cstdint>
#include <string_view>

namespace pellora {

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

}  // namespace pellora
