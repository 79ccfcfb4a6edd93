// The 256-bit key that seals every exchange file. Wiped when it goes. Lives in the secret store only.
#pragma once

#include <optional>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora {

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
