// Whether there is an exchange key, and if not, why.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

struct KeyState {
  enum class Kind { found, none, locked, unavailable, damaged };

  Kind kind = Kind::none;
  std::string reason;  // the store's own words, if any
  std::optional<ExchangeKey> key;

  static KeyState find(SecretStore& secrets);

  // Whether there is no keyring to reach, for which the key file would do instead.
  bool lacksKeyring() const;

  // The kind in one word, as scripts get it.
  std::string_view word() const;

  // The kind in one sentence.
  std::string sentence() const;
};

}  // namespace pellora
