// Bytes that are wiped, and the exchange key, which is made of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace pellora {

// Whole pages. Throws std::bad_alloc.
void* allocateSecret(std::size_t size);
void releaseSecret(void* memory, std::size_t size) noexcept;

// A byte string for keys: in memory pages of its own that are kept out of swap and core dumps as far as the system
// allows (a limit on locked memory is not an error), and wiped when it is destroyed or replaced. Moving leaves nothing
// behind. Tested by Tests/Core/ExchangeKeyTests.cpp.
class SecretBytes {
 public:
  SecretBytes() = default;
  explicit SecretBytes(std::span<const std::uint8_t> bytes) : _bytes(bytes.begin(), bytes.end()) {}
  explicit SecretBytes(std::string_view bytes) : _bytes(bytes.begin(), bytes.end()) {}
  SecretBytes(const SecretBytes&) = default;
  SecretBytes(SecretBytes&& other) noexcept = default;
  SecretBytes& operator=(SecretBytes other) noexcept {
    _bytes.swap(other._bytes);
    return *this;
  }

  std::span<const std::uint8_t> span() const { return _bytes; }
  std::size_t size() const { return _bytes.size(); }
  bool operator==(const SecretBytes&) const = default;

 private:
  template <class Element>
  struct Allocator {
    using value_type = Element;
    Allocator() = default;
    template <class Other>
    Allocator(const Allocator<Other>&) {}
    Element* allocate(std::size_t count) { return static_cast<Element*>(allocateSecret(count * sizeof(Element))); }
    void deallocate(Element* memory, std::size_t count) noexcept { releaseSecret(memory, count * sizeof(Element)); }
    bool operator==(const Allocator&) const = default;
  };

  std::vector<std::uint8_t, Allocator<std::uint8_t>> _bytes;
};

// The 256-bit key that seals every exchange file. Wiped when it goes. Lives in the secret store only.
class ExchangeKey {
 public:
  static constexpr std::size_t kSize = 32;  // bytes

  // Absent unless `data` has exactly 32 bytes.
  static std::optional<ExchangeKey> fromData(const SecretBytes& data);

  // A new key from the system's random source.
  static ExchangeKey random();

  const SecretBytes& data() const { return _data; }

  bool operator==(const ExchangeKey&) const = default;

 private:
  explicit ExchangeKey(SecretBytes data) : _data(std::move(data)) {}

  SecretBytes _data;
};

}  // namespace pellora
