#include <gtest/gtest.h>

#include <vector>

#include "Adapters/InMemory/InMemoryStorage.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"

namespace pellora {
namespace {

// Another process adds its key between this one's search and its addition.
class RacedSecretStore : public InMemorySecretStore {
 public:
  explicit RacedSecretStore(SecretBytes theirs) : _theirs(std::move(theirs)) {}

  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override {
    InMemorySecretStore::add(attributes, "theirs", _theirs);
    return InMemorySecretStore::add(attributes, label, data);
  }

 private:
  SecretBytes _theirs;
};

// Finds nothing and refuses to add.
class RefusingSecretStore : public InMemorySecretStore {
 public:
  explicit RefusingSecretStore(SecretAddition::Outcome outcome) : _outcome(outcome) {}

  SecretAddition add(const SecretAttributes&, const std::string&, const SecretBytes&) override {
    return {_outcome, "No."};
  }

 private:
  SecretAddition::Outcome _outcome;
};

// Counts additions, refused or not: a real store takes a second secret with the same attributes.
class CountingSecretStore : public InMemorySecretStore {
 public:
  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override {
    ++additions;
    return InMemorySecretStore::add(attributes, label, data);
  }

  int additions = 0;
};

SecretBytes bytesOf(std::size_t size) {
  return SecretBytes(std::vector<std::uint8_t>(size, 3));
}

TEST(ExchangeKeychain, NamesTheKeyByServiceAccountAndGroup) {
  EXPECT_EQ(ExchangeKeychain::attributes(),
            (SecretAttributes{"app.pellora.messages.exchange", "exchange-key", "app.pellora.messages"}));
}

TEST(ExchangeKeychain, LoadCreatesNothing) {
  InMemorySecretStore store;
  EXPECT_EQ(ExchangeKeychain::load(store), std::nullopt);
  EXPECT_EQ(store.count(), 0u);
}

TEST(ExchangeKeychain, LoadOrCreateAddsOneKeyAndFindsItAgain) {
  InMemorySecretStore store;
  const auto created = ExchangeKeychain::loadOrCreate(store);
  ASSERT_TRUE(created.has_value());
  EXPECT_EQ(store.lastLabel(), "Pellora for Messages exchange key");
  EXPECT_EQ(ExchangeKeychain::load(store), created);
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store), created);
  EXPECT_EQ(store.count(), 1u);
  InMemorySecretStore other;
  EXPECT_NE(ExchangeKeychain::loadOrCreate(other), created);
}

TEST(ExchangeKeychain, AKeyThatIsThereIsNotAddedAgain) {
  CountingSecretStore store;
  const auto created = ExchangeKeychain::loadOrCreate(store);
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store), created);
  EXPECT_EQ(store.additions, 1);
  CountingSecretStore withAnother;
  withAnother.InMemorySecretStore::add(ExchangeKeychain::attributes(), "", bytesOf(31));
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(withAnother), std::nullopt);
  EXPECT_EQ(withAnother.additions, 0);
}

TEST(ExchangeKeychain, KeyOfAnotherProcessThatCameFirstCounts) {
  RacedSecretStore store(bytesOf(32));
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store), ExchangeKey::fromData(bytesOf(32)));
  EXPECT_EQ(store.count(), 1u);
}

TEST(ExchangeKeychain, KeyOfAnotherProcessOfTheWrongSizeGivesNone) {
  RacedSecretStore store(bytesOf(31));
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store), std::nullopt);
}

TEST(ExchangeKeychain, StoredValueMustHave32Bytes) {
  for (const std::size_t size : {0, 1, 31, 32, 33, 64}) {
    InMemorySecretStore store;
    store.add(ExchangeKeychain::attributes(), "", bytesOf(size));
    EXPECT_EQ(ExchangeKeychain::load(store).has_value(), size == 32) << size;
    EXPECT_EQ(ExchangeKeychain::loadOrCreate(store).has_value(), size == 32) << size;
    EXPECT_EQ(store.count(), 1u);
  }
}

TEST(ExchangeKeychain, LockedOrMissingStoreGivesNoKeyAndCreatesNone) {
  for (const auto state : {InMemorySecretStore::State::locked, InMemorySecretStore::State::unavailable}) {
    InMemorySecretStore store;
    store.setState(state);
    EXPECT_EQ(ExchangeKeychain::load(store), std::nullopt);
    EXPECT_EQ(ExchangeKeychain::loadOrCreate(store), std::nullopt);
    store.setState(InMemorySecretStore::State::open);
    EXPECT_EQ(store.count(), 0u);
  }
}

TEST(ExchangeKeychain, RefusedAdditionGivesNoKey) {
  for (const auto outcome : {SecretAddition::Outcome::locked, SecretAddition::Outcome::failed}) {
    RefusingSecretStore store(outcome);
    std::string reason;
    EXPECT_EQ(ExchangeKeychain::loadOrCreate(store, &reason), std::nullopt);
    EXPECT_EQ(reason, "No.");
  }
}

TEST(ExchangeKeychain, TellsTheStoresReasonForGivingNoKey) {
  InMemorySecretStore store;
  std::string reason = "old";
  EXPECT_TRUE(ExchangeKeychain::loadOrCreate(store, &reason).has_value());
  store.setState(InMemorySecretStore::State::locked);
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(store, &reason), std::nullopt);
  EXPECT_EQ(reason, "The keyring is locked.");
  RacedSecretStore raced(bytesOf(31));
  EXPECT_EQ(ExchangeKeychain::loadOrCreate(raced, &reason), std::nullopt);
  EXPECT_EQ(reason, "");
}

TEST(ExchangeKeychain, SecretsOfOthersAreNotTaken) {
  InMemorySecretStore store;
  SecretAttributes other = ExchangeKeychain::attributes();
  other.accessGroup = "app.other";
  store.add(other, "", bytesOf(32));
  EXPECT_EQ(ExchangeKeychain::load(store), std::nullopt);
}

}  // namespace
}  // namespace pellora
