#include "Companion/CompanionContext.h"

#include <filesystem>
#include <system_error>

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
      return "The exchange key in the secret store is damaged: it is not 32 bytes long; remove it there, then write "
             "the "
             "people again: pellora-companion people import --replace FILE";
  }
  return {};
}

ExchangeKey CompanionContext::key() const {
  KeyState state = KeyState::find(secrets);
  if (!state.key) throw CompanionFailure(state.sentence());
  return *state.key;
}

PeopleStore PeopleStore::find(const CompanionContext& context, const std::optional<ExchangeKey>& key) {
  PeopleStore store;
  const auto url = HelperPeopleFile::url(context.folder);
  if (!url) return store;
  std::error_code error;
  const auto status = std::filesystem::symlink_status(*url, error);
  if (status.type() == std::filesystem::file_type::not_found) return store;
  store.reason = reading_obstacle::find(*url);
  store.kind = store.reason.empty() ? Kind::sealed : Kind::inaccessible;
  if (key) store.file = HelperPeopleFile::read(*key, context.folder);
  if (store.file) store.kind = Kind::read;
  return store;
}

std::string PeopleStore::sentence(bool hasKey) const {
  switch (kind) {
    case Kind::missing:
      return "There is no people file yet; \"pellora-companion people import FILE\" writes it.";
    case Kind::inaccessible:
      return "The people file cannot be read: " + reason + ".";
    case Kind::sealed:
      return hasKey ? "The people file exists but does not open with the exchange key."
                    : "The people file exists but there is no exchange key that opens it.";
    case Kind::read:
      break;
  }
  return "There is a people file.";
}

}  // namespace pellora
