#include "Companion/People/StableUuid.h"

#include <openssl/evp.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace pellora {

Uuid stableUuid(std::string_view text) {
  const std::string named = "app.pellora.messages person " + std::string(text);
  std::array<std::uint8_t, 32> digest{};
  if (EVP_Digest(named.data(), named.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("The cryptographic library cannot compute SHA-256.");
  std::array<std::uint8_t, 16> bytes{};
  std::copy_n(digest.begin(), bytes.size(), bytes.begin());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x80);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return Uuid(bytes);
}

}  // namespace pellora
