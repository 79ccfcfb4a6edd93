#include "Companion/CompanionContext.h"

#include "Companion/Output/CompanionFailure.h"
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

namespace {

// The store's own words, and what can be done about them.
std::string withRemedy(const std::string& reason, const std::string& remedy) {
  return (reason.ends_with('.') ? reason.substr(0, reason.size() - 1) : reason) + "; " + remedy + ".";
}

bool isAboutKeyring(const std::string& reason) {
  for (const char* word : {"secret service", "session bus", "keyring"})
    if (reason.find(word) != std::string::npos) return true;
  return false;
}

}  // namespace

bool KeyState::lacksKeyring() const {
  return kind == Kind::unavailable && (reason.empty() || isAboutKeyring(reason));
}

std::string KeyState::sentence() const {
  switch (kind) {
    case Kind::found:
      return "There is an exchange key.";
    case Kind::none:
      return "There is no exchange key yet; \"pellora-companion people import FILE\" creates one.";
    case Kind::locked:
      return withRemedy(reason.empty() ? "The keyring with the exchange key is locked" : reason,
                        "unlock it (signing in to the desktop usually does), then try again");
    case Kind::unavailable:
      if (!lacksKeyring()) return reason;
      return withRemedy(reason.empty() ? "There is no keyring for the exchange key" : reason,
                        "start a keyring, or keep the key in a file: pellora-companion key use-file");
    case Kind::damaged:
      return "What the secret store holds as the exchange key is not 32 bytes long.";
  }
  return {};
}

ExchangeKey CompanionContext::key() const {
  KeyState state = KeyState::find(secrets);
  if (!state.key) throw CompanionFailure(state.sentence());
  return *state.key;
}

}  // namespace pellora
