// The contract of secret stores, for the one in memory, key files and a real secret service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Adapters/InMemory/InMemoryStorage.h"
#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"
#include "Adapters/Linux/Secrets/SecretServiceStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/PrivateBus.h"

namespace pellora {

namespace {

using Outcome = SecretLookup::Outcome;
using Added = SecretAddition::Outcome;

const SecretAttributes kAttributes{"app.pellora.messages.exchange", "exchange-key", "app.pellora.messages"};

SecretBytes bytes(std::string_view text) {
  return SecretBytes(text);
}

// A store and what it needs around it.
class SecretStoreWorld {
 public:
  virtual ~SecretStoreWorld() = default;
  virtual std::string problem() { return {}; }
  virtual SecretStore& store() = 0;
};

class MemorySecretStoreWorld : public SecretStoreWorld {
 public:
  SecretStore& store() override { return _store; }

 private:
  InMemorySecretStore _store;
};

class FileSecretStoreWorld : public SecretStoreWorld {
 public:
  SecretStore& store() override { return _store; }

 private:
  support::TemporaryFolder _folder;
  KeyFileSecretStore _store{_folder / "data"};
};

class ServiceWorld : public SecretStoreWorld {
 public:
  std::string problem() override {
    if (!support::PrivateKeyring::isPossible()) return "dbus-daemon or gnome-keyring-daemon is not installed";
    _bus = std::make_unique<support::PrivateBus>();
    _keyring = std::make_unique<support::PrivateKeyring>(*_bus);
    EXPECT_TRUE(_bus->isRunning() && _keyring->start(true));
    return {};
  }
  SecretStore& store() override { return _store; }

 private:
  std::unique_ptr<support::PrivateBus> _bus;
  std::unique_ptr<support::PrivateKeyring> _keyring;
  SecretServiceStore _store;
};

class SecretStoreContract : public support::Contract<SecretStoreWorld> {
 protected:
  SecretStore& store() { return world->store(); }
};

}  // namespace

TEST_P(SecretStoreContract, WhatWasNeverAddedIsAbsentWithoutAReason) {
  const SecretLookup lookup = store().find(kAttributes);
  EXPECT_EQ(lookup.outcome, Outcome::absent);
  EXPECT_EQ(lookup.reason, "");
  EXPECT_EQ(lookup.data.size(), 0U);
}

TEST_P(SecretStoreContract, WhatWasAddedIsFoundByteByByte) {
  std::string raw(32, '\0');
  for (std::size_t index = 0; index < raw.size(); ++index) raw[index] = static_cast<char>(index * 41 + 200);
  raw[7] = '\0';
  raw[8] = '\n';
  EXPECT_EQ(store().add(kAttributes, "a label", bytes(raw)).outcome, Added::added);
  const SecretLookup lookup = store().find(kAttributes);
  EXPECT_EQ(lookup.outcome, Outcome::found);
  EXPECT_EQ(lookup.data, bytes(raw));
  EXPECT_EQ(lookup.reason, "");
}

TEST_P(SecretStoreContract, TheSecondAdditionIsADuplicateAndChangesNothing) {
  store().add(kAttributes, "a label", bytes("first"));
  const SecretAddition second = store().add(kAttributes, "another label", bytes("second"));
  EXPECT_EQ(second.outcome, Added::duplicate);
  EXPECT_EQ(second.reason, "");
  EXPECT_EQ(store().find(kAttributes).data, bytes("first"));
}

TEST_P(SecretStoreContract, SecretsWithOtherNamesAreOthers) {
  SecretAttributes account = kAttributes;
  account.account = "other-key";
  SecretAttributes service = kAttributes;
  service.service = "app.pellora.messages.other";
  store().add(kAttributes, "a label", bytes("first"));
  EXPECT_EQ(store().find(account).outcome, Outcome::absent);
  EXPECT_EQ(store().find(service).outcome, Outcome::absent);
  EXPECT_EQ(store().add(account, "a label", bytes("second")).outcome, Added::added);
  EXPECT_EQ(store().find(account).data, bytes("second"));
  EXPECT_EQ(store().find(kAttributes).data, bytes("first"));
}

TEST_P(SecretStoreContract, ASecretOfAnotherLengthIsKeptButIsNoKeyAndIsNeverReplaced) {
  for (const std::size_t size : {std::size_t{31}, std::size_t{33}}) {
    SecretAttributes attributes = ExchangeKeychain::attributes();
    attributes.account += std::to_string(size);
    store().add(attributes, ExchangeKeychain::kLabel, bytes(std::string(size, 'k')));
    EXPECT_EQ(store().find(attributes).data.size(), size);
  }
  store().add(ExchangeKeychain::attributes(), ExchangeKeychain::kLabel, bytes(std::string(31, 'k')));
  EXPECT_FALSE(ExchangeKeychain::load(store()));
  EXPECT_FALSE(ExchangeKeychain::loadOrCreate(store()));
  EXPECT_EQ(store().find(ExchangeKeychain::attributes()).data, bytes(std::string(31, 'k')));
}

TEST_P(SecretStoreContract, TheKeychainCreatesOneKeyAndFindsItAgain) {
  EXPECT_FALSE(ExchangeKeychain::load(store()));
  const auto created = ExchangeKeychain::loadOrCreate(store());
  ASSERT_TRUE(created);
  EXPECT_EQ(ExchangeKeychain::load(store()), created);
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store()), created);
}

TEST_P(SecretStoreContract, ASecretThatWasAddedIsToldOf) {
  bool isFound = false;
  const auto observer =
      store().observe(kAttributes, [&] { isFound = isFound || store().find(kAttributes).outcome == Outcome::found; });
  ASSERT_TRUE(observer);
  store().add(kAttributes, "a label", bytes("first"));
  EXPECT_TRUE(support::waitUntil([&] { return isFound; }));
}

TEST_P(SecretStoreContract, AnObserverThatIsGoneIsSilent) {
  int calls = 0;
  auto observer = store().observe(kAttributes, [&] { ++calls; });
  observer.reset();
  calls = 0;
  store().add(kAttributes, "a label", bytes("first"));
  EXPECT_FALSE(support::waitUntil([&] { return calls > 0; }, std::chrono::milliseconds(100)));
}

INSTANTIATE_TEST_SUITE_P(Stores, SecretStoreContract,
                         testing::Values(support::party<SecretStoreWorld, MemorySecretStoreWorld>("InMemory"),
                                         support::party<SecretStoreWorld, FileSecretStoreWorld>("KeyFile"),
                                         support::party<SecretStoreWorld, ServiceWorld>("SecretService")),
                         support::kPartyName);

}  // namespace pellora
