#include "PelloraMessagesCore/Files/ExchangeKey.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <array>
#include <cstdint>
#include <stdexcept>

namespace pellora {

std::optional<ExchangeKey> ExchangeKey::fromData(const SecretBytes& data) {
  if (data.size() != kSize) return std::nullopt;
  return ExchangeKey(data);
}

ExchangeKey ExchangeKey::random() {
  std::array<std::uint8_t, kSize> bytes{};
  if (RAND_priv_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
    throw std::runtime_error("The system's random source failed");
  ExchangeKey key{SecretBytes(bytes)};
  OPENSSL_cleanse(bytes.data(), bytes.size());
  return key;
}

}  // namespace pellora
