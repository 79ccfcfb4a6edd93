#include "PelloraMessagesCore/ExchangeKeychain.h"

#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora::ExchangeKeychain {

namespace {

constexpr char kService[] = "app.pellora.messages.exchange";
constexpr char kAccount[] = "exchange-key";

std::optional<ExchangeKey> keyIn(const SecretLookup& lookup) {
  if (lookup.outcome != SecretLookup::Outcome::found) return std::nullopt;
  return ExchangeKey::fromData(lookup.data);
}

}  // namespace

SecretAttributes attributes() {
  return {kService, kAccount, HelperExchange::kGroupIdentifier};
}

std::optional<ExchangeKey> load(SecretStore& store) {
  return keyIn(store.find(attributes()));
}

std::optional<ExchangeKey> loadOrCreate(SecretStore& store, std::string* reason) {
  SecretLookup lookup = store.find(attributes());
  // A locked store may hold a key already, and a value of the wrong size is not ours to replace.
  if (lookup.outcome == SecretLookup::Outcome::absent) {
    ExchangeKey created = ExchangeKey::random();
    const SecretAddition addition = store.add(attributes(), kLabel, created.data());
    switch (addition.outcome) {
      case SecretAddition::Outcome::added:
        return created;
      case SecretAddition::Outcome::duplicate:
        lookup = store.find(attributes());
        break;
      case SecretAddition::Outcome::locked:
      case SecretAddition::Outcome::failed:
        if (reason != nullptr) *reason = addition.reason;
        return std::nullopt;
    }
  }
  if (reason != nullptr) *reason = lookup.reason;
  return keyIn(lookup);
}

}  // namespace pellora::ExchangeKeychain
