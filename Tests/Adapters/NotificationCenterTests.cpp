// The contract of notification centers; then the session bus with other processes on it.
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>

#include "Adapters/InMemory/InMemoryEvents.h"
#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/PrivateBus.h"

namespace pellora {

namespace {

using support::waitUntil;
constexpr char kName[] = "app.pellora.messages.readNow";

class NotificationCenterWorld {
 public:
  virtual ~NotificationCenterWorld() = default;
  virtual std::string problem() { return {}; }
  virtual NotificationCenter& center() = 0;
  virtual void takeAway() = 0;
};

class MemoryNotificationCenterWorld : public NotificationCenterWorld {
 public:
  NotificationCenter& center() override { return _center; }
  void takeAway() override { _center.setAvailable(false); }

 private:
  InMemoryNotificationCenter _center;
};

class BusWorld : public NotificationCenterWorld {
 public:
  std::string problem() override {
    if (!support::PrivateBus::isPossible()) return "dbus-daemon is not installed";
    _bus = std::make_unique<support::PrivateBus>();
    EXPECT_TRUE(_bus->isRunning());
    return {};
  }
  NotificationCenter& center() override { return _center; }
  void takeAway() override { _bus->environment().set("DBUS_SESSION_BUS_ADDRESS", ""); }

 private:
  std::unique_ptr<support::PrivateBus> _bus;
  DBusNotificationCenter _center;
};

class NotificationCenterContract : public support::Contract<NotificationCenterWorld> {
 protected:
  NotificationCenter& center() { return world->center(); }

  int calls = 0;
};

}  // namespace

TEST_P(NotificationCenterContract, APostReachesEveryObserverOfTheName) {
  int others = 0;
  const auto first = center().observe(kName, [this] { ++calls; });
  const auto second = center().observe(kName, [&] { ++others; });
  ASSERT_TRUE(first && second);
  EXPECT_TRUE(center().post(kName));
  EXPECT_TRUE(waitUntil([&] { return calls == 1 && others == 1; }));
  EXPECT_FALSE(waitUntil([&] { return calls > 1 || others > 1; }, support::kQuiet));
}

TEST_P(NotificationCenterContract, EveryPostIsDelivered) {
  const auto observer = center().observe(kName, [this] { ++calls; });
  for (int post = 0; post < 10; ++post) EXPECT_TRUE(center().post(kName));
  EXPECT_TRUE(waitUntil([this] { return calls == 10; }));
}

TEST_P(NotificationCenterContract, OtherNamesAreNotDelivered) {
  const auto observer = center().observe(kName, [this] { ++calls; });
  for (const char* name : {"app.pellora.messages.readLater", "app.pellora.other.readNow", "app.pellora.readNow"})
    EXPECT_TRUE(center().post(name));
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, support::kQuiet));
}

TEST_P(NotificationCenterContract, PostingWithoutObserversSucceeds) {
  EXPECT_TRUE(center().post(kName));
}

TEST_P(NotificationCenterContract, AnObserverThatIsGoneHearsNothing) {
  auto observer = center().observe(kName, [this] { ++calls; });
  observer.reset();
  center().post(kName);
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, support::kQuiet));
}

TEST_P(NotificationCenterContract, AHandlerMayEndItsOwnObservation) {
  std::unique_ptr<NotificationObserver> observer;
  observer = center().observe(kName, [&] {
    observer.reset();
    ++calls;
  });
  center().post(kName);
  center().post(kName);
  EXPECT_TRUE(waitUntil([this] { return calls == 1; }));
  EXPECT_FALSE(waitUntil([this] { return calls > 1; }, support::kQuiet));
}

TEST_P(NotificationCenterContract, AHandlerMayPost) {
  const auto observer = center().observe(kName, [this] {
    if (++calls < 3) center().post(kName);
  });
  center().post(kName);
  EXPECT_TRUE(waitUntil([this] { return calls == 3; }));
}

TEST_P(NotificationCenterContract, WithoutAWayNothingIsPostedOrObserved) {
  world->takeAway();
  EXPECT_FALSE(center().post(kName));
  EXPECT_FALSE(center().observe(kName, [] {}));
}

INSTANTIATE_TEST_SUITE_P(
    Centers, NotificationCenterContract,
    testing::Values(support::party<NotificationCenterWorld, MemoryNotificationCenterWorld>("InMemory"),
                    support::party<NotificationCenterWorld, BusWorld>("DBus")),
    support::kPartyName);

namespace {

class DBusNotificationCenterTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!support::PrivateBus::isPossible()) GTEST_SKIP() << "dbus-daemon is not installed";
    bus = std::make_unique<support::PrivateBus>();
    ASSERT_TRUE(bus->isRunning());
  }

  std::unique_ptr<support::PrivateBus> bus;
  DBusNotificationCenter center;
  int calls = 0;
};

}  // namespace

TEST_F(DBusNotificationCenterTest, AProcessThatEndsRightAfterPostingIsHeard) {
  const auto observer = center.observe(kName, [this] { ++calls; });
  for (int round = 1; round <= 10; ++round) {
    support::ChildProcess poster(PELLORA_PLATFORM_PROBE, {"post", kName});
    EXPECT_EQ(poster.finish(), "");
    EXPECT_TRUE(waitUntil([&] { return calls == round; })) << round;
  }
}

TEST_F(DBusNotificationCenterTest, TheSignalCarriesTheAgreedNamesAndNothingElse) {
  const auto observer = center.observe(kName, [this] { ++calls; });
  const QString name = QStringLiteral("sender");
  {
    QDBusConnection sender = QDBusConnection::connectToBus(QString::fromStdString(bus->address()), name);
    const auto send = [&](const char* path, const char* interface, const char* member) {
      sender.send(QDBusMessage::createSignal(QLatin1String(path), QLatin1String(interface), QLatin1String(member)));
    };
    send("/app/pellora/other", "app.pellora.messages", "readNow");
    send("/app/pellora/messages", "app.pellora.other", "readNow");
    send("/app/pellora/messages", "app.pellora.messages", "other");
    send("/app/pellora/messages", "app.pellora.messages", "readNow");
    EXPECT_TRUE(waitUntil([this] { return calls > 0; }));
    EXPECT_FALSE(waitUntil([this] { return calls > 1; }, support::kQuiet));
  }
  QDBusConnection::disconnectFromBus(name);
}

TEST_F(DBusNotificationCenterTest, NamesThatMakeNoSignalAreRefused) {
  for (const char* name : {"", "readNow", ".readNow", "app.pellora.", "app..readNow", "app.pellora.read now",
                           "pellora.readNow", "app.pellora.1st", "app.p\xC3\xA9.readNow"}) {
    EXPECT_FALSE(center.post(name)) << name;
    EXPECT_FALSE(center.observe(name, [] {})) << name;
  }
}

TEST_F(DBusNotificationCenterTest, TheEndOfTheBusHarmsNobody) {
  const auto observer = center.observe(kName, [this] { ++calls; });
  bus.reset();
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, support::kQuiet));
  EXPECT_FALSE(center.post(kName));
}

TEST(DBusNotificationCenterWithoutABus, GivesUpAndStartsNone) {
  const support::TemporaryFolder folder;
  for (const char* address : {"", "autolaunch:", "unix:path=/nonexistent/bus", "nonsense"}) {
    support::ScopedEnvironment environment;
    environment.set("DBUS_SESSION_BUS_ADDRESS", address);
    environment.set("XDG_RUNTIME_DIR", folder.path().string());
    DBusNotificationCenter center;
    EXPECT_FALSE(center.post(kName)) << address;
    EXPECT_FALSE(center.observe(kName, [] {})) << address;
  }
}

}  // namespace pellora
