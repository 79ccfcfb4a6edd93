#include "Companion/KeyState.h"

#include "PelloraMessagesCore/ExchangeKeychain.h"

namespace pellora {

KeyState KeyState::find(SecretStore& secrets) {
  const SecretLookup lookup = secrets.find(ExchangeKeychain::attributes());
  KeyState state;
  state.reason = lookup.reason;
  switch (lookup.outcome) {
    case SecretLookup::Outcome::found:
      state.key = ExchangeKey::fromData(lookup.data);
      state.kind = state.key ? Kind::found : Kind::damaged;
      break;
    case SecretLookup::Outcome::absent:
      state.kind = Kind::none;
      break;
    case SecretLookup::Outcome::locked:
      state.kind = Kind::locked;
      break;
    case SecretLookup::Outcome::unavailable:
      state.kind = Kind::unavailable;
      break;
  }
  return state;
}

std::string_view KeyState::word() const {
  switch (kind) {
    case Kind::found:
      return "found";
    case Kind::none:
      return "none";
    case Kind::locked:
      return "locked";
    case Kind::unavailable:
      return "unavailable";
    case Kind::damaged:
      return "damaged";
  }
  return {};
}

std::string KeyState::sentence() const {
  switch (kind) {
    case Kind::found:
      return "There is an exchange key.";
    case Kind::none:
      return "There is no exchange key yet; \"pellora-companion people import FILE\" creates one.";
    case Kind::locked:
      return reason.empty() ? "The secret store with the exchange key is locked." : reason;
    case Kind::unavailable:
      return reason.empty() ? "There is no secret store for the exchange key." : reason;
    case Kind::damaged:
      return "What the secret store holds as the exchange key is not 32 bytes long.";
  }
  return {};
}

}  // namespace pellora
