#include "Adapters/InMemory/InMemorySecretStore.h"

namespace pellora {

SecretLookup InMemorySecretStore::find(const SecretAttributes& attributes) {
  if (_state == State::locked) return {SecretLookup::Outcome::locked, {}, "The keyring is locked."};
  if (_state == State::unavailable) return {SecretLookup::Outcome::unavailable, {}, "There is no keyring."};
  for (const auto& [known, data] : _secrets)
    if (known == attributes) return {SecretLookup::Outcome::found, data, {}};
  return {};
}

SecretAddition InMemorySecretStore::add(const SecretAttributes& attributes, const std::string& label,
                                        const SecretBytes& data) {
  if (_state == State::withoutCollection)
    return {SecretAddition::Outcome::failed, "There is no keyring yet that could keep the key."};
  switch (find(attributes).outcome) {
    case SecretLookup::Outcome::found:
      return {SecretAddition::Outcome::duplicate, {}};
    case SecretLookup::Outcome::locked:
      return {SecretAddition::Outcome::locked, "The keyring is locked."};
    case SecretLookup::Outcome::unavailable:
      return {SecretAddition::Outcome::failed, "There is no keyring."};
    case SecretLookup::Outcome::absent:
      break;
  }
  _secrets.emplace_back(attributes, data);
  _lastLabel = label;
  return {SecretAddition::Outcome::added, {}};
}

}  // namespace pellora
