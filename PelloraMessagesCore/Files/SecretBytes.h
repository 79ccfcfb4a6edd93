// A byte string that is wiped from memory when it is destroyed or replaced. Moving leaves nothing behind.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace pellora {

class SecretBytes {
 public:
  SecretBytes() = default;
  explicit SecretBytes(std::span<const std::uint8_t> bytes) : _bytes(bytes.begin(), bytes.end()) {}
  explicit SecretBytes(std::string_view bytes) : _bytes(bytes.begin(), bytes.end()) {}
  SecretBytes(const SecretBytes&) = default;
  SecretBytes(SecretBytes&& other) noexcept : _bytes(std::move(other._bytes)) { other._bytes.clear(); }
  SecretBytes& operator=(SecretBytes other) noexcept {
    _bytes.swap(other._bytes);
    return *this;
  }
  ~SecretBytes();

  std::span<const std::uint8_t> span() const { return _bytes; }
  std::size_t size() const { return _bytes.size(); }
  bool operator==(const SecretBytes&) const = default;

 private:
  std::vector<std::uint8_t> _bytes;
};

}  // namespace pellora
