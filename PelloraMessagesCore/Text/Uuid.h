// A 128-bit identifier. Read in either case, always written upper-case with hyphens.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pellora {

class Uuid {
 public:
  Uuid() = default;
  explicit Uuid(const std::array<std::uint8_t, 16>& bytes) : _bytes(bytes) {}

  // Absent unless the text is exactly 8-4-4-4-12 hexadecimal digits.
  static std::optional<Uuid> parse(std::string_view text);

  // A random (version 4) identifier from the system's random source.
  static Uuid random();

  std::string toString() const;
  const std::array<std::uint8_t, 16>& bytes() const { return _bytes; }

  auto operator<=>(const Uuid&) const = default;

 private:
  std::array<std::uint8_t, 16> _bytes{};
};

}  // namespace pellora

template <>
struct std::hash<pellora::Uuid> {
  std::size_t operator()(const pellora::Uuid& uuid) const noexcept;
};
