#include "PelloraMessagesCore/Text/Uuid.h"

#include <openssl/rand.h>

#include <cstring>
#include <stdexcept>

#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

constexpr std::size_t kTextLength = 36;

bool isHyphenPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != kTextLength) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t nibble = 0;
  for (std::size_t position = 0; position < kTextLength; ++position) {
    if (isHyphenPosition(position)) {
      if (text[position] != '-') return std::nullopt;
      continue;
    }
    const int value = hexValue(text[position]);
    if (value < 0) return std::nullopt;
    bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] << 4 | value);
    ++nibble;
  }
  return Uuid(bytes);
}

Uuid Uuid::random() {
  std::array<std::uint8_t, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
    throw std::runtime_error("The system's random source failed");
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return Uuid(bytes);
}

std::string Uuid::toString() const {
  std::string text;
  text.reserve(kTextLength);
  for (const std::uint8_t byte : _bytes) {
    if (isHyphenPosition(text.size())) text += '-';
    appendHex(text, byte, kUpperHexDigits);
  }
  return text;
}

}  // namespace pellora

std::size_t std::hash<pellora::Uuid>::operator()(const pellora::Uuid& uuid) const noexcept {
  std::size_t value = 0;
  std::memcpy(&value, uuid.bytes().data(), sizeof value);
  return value;
}
