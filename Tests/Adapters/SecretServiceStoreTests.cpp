// The store against a real keyring daemon on a private bus, and against buses where something is missing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <filesystem>
#include <future>
#include <set>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Secrets/MakeSecretStore.h"
#include "Adapters/Linux/Secrets/SecretServiceSession.h"
#include "Adapters/Linux/Secrets/SecretServiceStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/PrivateBus.h"

namespace pellora {

namespace {

using Outcome = SecretLookup::Outcome;
using Added = SecretAddition::Outcome;
using support::ChildProcess;
using support::PrivateBus;
using support::PrivateKeyring;
using testing::HasSubstr;

const SecretBytes kFirst(std::string_view("11111111111111111111111111111111"));
const SecretBytes kSecond(std::string_view("22222222222222222222222222222222"));

// Stands where the desktop's prompter would, and counts who calls.
class PrompterSpy : public QDBusVirtualObject {
 public:
  explicit PrompterSpy(const std::string& address)
      : _bus(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("prompter-spy"))) {
    for (const char* name : {"org.gnome.keyring.SystemPrompter", "org.gnome.keyring.PrivatePrompter"})
      EXPECT_TRUE(_bus.registerService(QLatin1String(name)));
    _bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
  }
  ~PrompterSpy() override { QDBusConnection::disconnectFromBus(QStringLiteral("prompter-spy")); }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    if (message.interface() == QLatin1String("org.gnome.keyring.internal.Prompter")) ++calls;
    return false;
  }

  int calls = 0;

 private:
  QDBusConnection _bus;
};

class SecretServiceStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!PrivateKeyring::isPossible()) GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
    bus = std::make_unique<PrivateBus>();
    ASSERT_TRUE(bus->isRunning());
    keyring = std::make_unique<PrivateKeyring>(*bus);
  }

  std::unique_ptr<PrivateBus> bus;
  std::unique_ptr<PrivateKeyring> keyring;
  SecretServiceStore store;
  const SecretAttributes attributes = ExchangeKeychain::attributes();
};

}  // namespace

TEST_F(SecretServiceStoreTest, ManyProcessesThatCreateAtOnceOnAFreshKeyringEndWithOneKey) {
  constexpr int kRounds = 20;
  for (int round = 0; round < kRounds; ++round) {
    std::filesystem::remove_all(bus->home() / "data" / "keyrings");
    ASSERT_TRUE(keyring->start(true));
    std::vector<std::unique_ptr<ChildProcess>> creators;
    for (int creator = 0; creator < 2; ++creator)
      creators.push_back(
          std::make_unique<ChildProcess>(PELLORA_PLATFORM_PROBE, std::vector<std::string>{"load-or-create"}));
    std::set<std::string> keys;
    for (const auto& creator : creators) keys.insert(creator->finish());
    EXPECT_EQ(keys.size(), 1U);
    EXPECT_EQ(keys.begin()->size(), 64U) << *keys.begin();
    EXPECT_EQ(keyring->items().size(), 1U);
    keyring->stop();
  }
}

TEST_F(SecretServiceStoreTest, AnAdditionLocksOtherProcessesOut) {
  ASSERT_TRUE(keyring->start(true));
  const auto lock = *RuntimeFolder::path() / "app.pellora.messages.exchange.lock";
  EXPECT_FALSE(std::filesystem::exists(lock));
  ASSERT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::added);
  EXPECT_TRUE(std::filesystem::exists(lock));
}

TEST_F(SecretServiceStoreTest, TheKeySurvivesTheEndOfTheLogin) {
  ASSERT_TRUE(keyring->start(true));
  ASSERT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::added);
  keyring->stop();
  ASSERT_TRUE(keyring->start(true));
  EXPECT_EQ(store.find(attributes).data, kFirst);
}

TEST_F(SecretServiceStoreTest, AKeyringThatIsLockedAtLoginSaysSoAndGetsNothing) {
  ASSERT_TRUE(keyring->start(true));
  keyring->stop();
  ASSERT_TRUE(keyring->start(false));
  PrompterSpy prompter(bus->address());
  EXPECT_EQ(store.find(attributes).outcome, Outcome::locked);
  const SecretAddition addition = store.add(attributes, "a label", kFirst);
  EXPECT_EQ(addition.outcome, Added::locked);
  EXPECT_EQ(addition.reason, "The keyring is locked.");
  EXPECT_FALSE(support::waitUntil([&] { return prompter.calls > 0; }, std::chrono::milliseconds(300)));
  keyring->stop();
  ASSERT_TRUE(keyring->start(true));
  EXPECT_THAT(keyring->items(), testing::IsEmpty());
}

TEST_F(SecretServiceStoreTest, AKeyInALockedKeyringReadsAsLockedAndGetsNoSecond) {
  ASSERT_TRUE(keyring->start(true));
  ASSERT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::added);
  ASSERT_TRUE(keyring->lock());
  PrompterSpy prompter(bus->address());
  const SecretLookup lookup = store.find(attributes);
  EXPECT_EQ(lookup.outcome, Outcome::locked);
  EXPECT_EQ(lookup.reason, "The keyring is locked.");
  EXPECT_EQ(lookup.data.size(), 0U);
  EXPECT_EQ(store.add(attributes, "a label", kSecond).outcome, Added::locked);
  EXPECT_FALSE(ExchangeKeychain::loadOrCreate(store));
  EXPECT_FALSE(support::waitUntil([&] { return prompter.calls > 0; }, std::chrono::milliseconds(300)));
  keyring->stop();
  ASSERT_TRUE(keyring->start(false));
  EXPECT_EQ(store.find(attributes).outcome, Outcome::locked);
  keyring->stop();
  ASSERT_TRUE(keyring->start(true));
  EXPECT_EQ(keyring->items().size(), 1U);
  EXPECT_EQ(store.find(attributes).data, kFirst);
}

TEST_F(SecretServiceStoreTest, ACreationThatWouldPromptIsRefusedAsLocked) {
  ASSERT_TRUE(keyring->start(true));
  ASSERT_TRUE(keyring->lock());
  SecretServiceSession session(std::chrono::seconds(5));
  const auto collection = session.collectionForAlias("default");
  ASSERT_TRUE(collection);
  try {
    session.createItem(*collection, attributes, "a label", kFirst);
    FAIL() << "created in a locked collection";
  } catch (const SecretServiceSession::Failure& failure) {
    EXPECT_TRUE(failure.locked);
  }
}

TEST_F(SecretServiceStoreTest, WithoutAnyLastingCollectionNothingIsStored) {
  ASSERT_TRUE(keyring->start(false));
  const SecretLookup lookup = store.find(attributes);
  EXPECT_EQ(lookup.outcome, Outcome::unavailable);
  EXPECT_EQ(lookup.reason, "There is no keyring yet that could keep the key.");
  const SecretAddition addition = store.add(attributes, "a label", kFirst);
  EXPECT_EQ(addition.outcome, Added::failed);
  EXPECT_EQ(addition.reason, lookup.reason);
  EXPECT_EQ(store.find(attributes).outcome, Outcome::unavailable);
}

TEST_F(SecretServiceStoreTest, OfSeveralItemsTheFirstOneCountsEveryTime) {
  ASSERT_TRUE(keyring->start(true));
  {
    SecretServiceSession session(std::chrono::seconds(5));
    const auto collection = session.collectionForAlias("default");
    ASSERT_TRUE(collection);
    SecretAttributes filler = attributes;  // so that the first one is number 9 and the next is number 10
    filler.account = "filler";
    for (int number = 1; number <= 8; ++number) session.createItem(*collection, filler, "a label", kSecond);
    session.createItem(*collection, attributes, "a label", kFirst);
    for (int other = 0; other < 11; ++other) session.createItem(*collection, attributes, "a label", kSecond);
  }
  ASSERT_EQ(keyring->items().size(), 20U);
  EXPECT_EQ(store.find(attributes).data, kFirst);
  EXPECT_EQ(store.add(attributes, "a label", kSecond).outcome, Added::duplicate);
  EXPECT_EQ(keyring->items().size(), 20U);
}

TEST_F(SecretServiceStoreTest, AnItemInTheTransientCollectionDoesNotCount) {
  ASSERT_TRUE(keyring->start(true));
  {
    SecretServiceSession session(std::chrono::seconds(5));
    session.createItem("/org/freedesktop/secrets/collection/session", attributes, "a label", kSecond);
  }
  EXPECT_EQ(store.find(attributes).outcome, Outcome::absent);
  EXPECT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::added);
  EXPECT_EQ(store.find(attributes).data, kFirst);
}

TEST_F(SecretServiceStoreTest, ABusWithoutASecretServiceIsUnavailable) {
  const SecretLookup lookup = store.find(attributes);
  EXPECT_EQ(lookup.outcome, Outcome::unavailable);
  EXPECT_EQ(lookup.reason, "There is no secret service on the session bus.");
  EXPECT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::failed);
}

TEST_F(SecretServiceStoreTest, AServiceThatNeverAnswersIsGivenUp) {
  ChildProcess service(PELLORA_PLATFORM_PROBE, {"silent-service", "org.freedesktop.secrets"});
  ASSERT_EQ(service.readLine(), "ready");
  SecretServiceStore impatient(std::chrono::milliseconds(300));
  const SecretLookup lookup = impatient.find(attributes);
  EXPECT_EQ(lookup.outcome, Outcome::unavailable);
  EXPECT_THAT(lookup.reason, HasSubstr("doesn't answer."));
}

TEST_F(SecretServiceStoreTest, ClosingEndsACallThatWaitsInAnotherThreadAndLaterOnes) {
  ChildProcess service(PELLORA_PLATFORM_PROBE, {"silent-service", "org.freedesktop.secrets"});
  ASSERT_EQ(service.readLine(), "ready");
  SecretServiceStore patient(std::chrono::hours(1));
  std::promise<void> begun;
  auto waiting = std::async(std::launch::async, [&] {
    begun.set_value();
    return patient.find(attributes);
  });
  begun.get_future().wait();
  patient.close();
  EXPECT_EQ(waiting.get().outcome, Outcome::unavailable);
  EXPECT_EQ(patient.find(attributes).outcome, Outcome::unavailable);
  EXPECT_EQ(patient.add(attributes, "a label", kFirst).outcome, Added::failed);
}

TEST_F(SecretServiceStoreTest, UnlockingTheKeyringIsToldOf) {
  ASSERT_TRUE(keyring->start(true));
  ASSERT_EQ(store.add(attributes, "a label", kFirst).outcome, Added::added);
  ASSERT_TRUE(keyring->lock());
  ASSERT_EQ(store.find(attributes).outcome, Outcome::locked);
  bool isFound = false;
  const auto observer =
      store.observe(attributes, [&] { isFound = isFound || store.find(attributes).outcome == Outcome::found; });
  ASSERT_TRUE(observer);
  ASSERT_TRUE(keyring->unlock());
  EXPECT_TRUE(support::waitUntil([&] { return isFound; }));
}

TEST_F(SecretServiceStoreTest, AServiceThatStartsLaterIsToldOf) {
  bool isFound = false;
  const auto observer =
      store.observe(attributes, [&] { isFound = isFound || store.find(attributes).outcome == Outcome::absent; });
  ASSERT_TRUE(observer);
  ASSERT_EQ(store.find(attributes).outcome, Outcome::unavailable);
  ASSERT_TRUE(keyring->start(true));
  EXPECT_TRUE(support::waitUntil([&] { return isFound; }));
}

TEST(SecretServiceStoreWithoutABus, IsUnavailableAndStartsNoBus) {
  support::TemporaryFolder folder;
  for (const char* address : {"", "autolaunch:", "autolaunch:scope=*user", "unix:path=/nonexistent/bus"}) {
    support::ScopedEnvironment environment;
    environment.set("DBUS_SESSION_BUS_ADDRESS", address);
    environment.set("XDG_RUNTIME_DIR", folder.path().string());
    SecretServiceStore store;
    const SecretLookup lookup = store.find(ExchangeKeychain::attributes());
    EXPECT_EQ(lookup.outcome, Outcome::unavailable) << address;
    EXPECT_THAT(lookup.reason, HasSubstr("session bus")) << address;
    EXPECT_EQ(store.add(ExchangeKeychain::attributes(), "a label", kFirst).outcome, Added::failed) << address;
  }
}

TEST(MakeSecretStore, TakesTheStoreThatTheEnvironmentNames) {
  support::TemporaryFolder folder;
  support::ScopedEnvironment environment;
  environment.set("XDG_DATA_HOME", folder.path().string());
  environment.set("DBUS_SESSION_BUS_ADDRESS", "");
  environment.set("XDG_RUNTIME_DIR", folder.path().string());
  environment.set("PELLORA_SECRET_STORE", "file");
  const auto key = ExchangeKeychain::loadOrCreate(*makeSecretStore());
  ASSERT_TRUE(key);
  const std::filesystem::path file = folder.path() / "app.pellora.messages.exchange" / "exchange-key";
  EXPECT_EQ(std::filesystem::file_size(file), 32U);
  for (const char* name : {"secret-service", "", "File", "keyring"}) {
    environment.set("PELLORA_SECRET_STORE", name);
    EXPECT_EQ(makeSecretStore()->find(ExchangeKeychain::attributes()).outcome, Outcome::unavailable) << name;
  }
  EXPECT_EQ(makeSecretStore()->find(ExchangeKeychain::attributes()).reason,
            "PELLORA_SECRET_STORE must be \"secret-service\" or \"file\", or not set.");
}

}  // namespace pellora
