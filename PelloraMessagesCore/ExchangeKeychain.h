// Where the exchange key lies in the secret store and how two processes that both create it end with one key.
// Tested by Tests/Core/ExchangeKeychainTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

namespace ExchangeKeychain {

inline constexpr char kLabel[] = "Pellora for Messages exchange key";

// Service "app.pellora.messages.exchange", account "exchange-key", access group = HelperExchange::kGroupIdentifier.
SecretAttributes attributes();

// Absent when there is no key, the store is locked or the stored value is not 32 bytes.
std::optional<ExchangeKey> load(SecretStore& store);

// As load, and adds a new random key when there is none. Of two that add at once the first one's key counts.
// `reason` gets the store's own sentence when it gives or takes no key, and is empty when it has none to say.
std::optional<ExchangeKey> loadOrCreate(SecretStore& store, std::string* reason = nullptr);

}  // namespace ExchangeKeychain

}  // namespace pellora
