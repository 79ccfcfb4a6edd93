// The contract of sleep notices, for the one in memory and the login manager's, which a stand-in plays on
// a private bus.
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

class SleepNoticeWorld {
 public:
  virtual ~SleepNoticeWorld() = default;
  virtual std::string problem() { return {}; }
  virtual SleepNotice& notice() = 0;
  virtual void announce(bool sleeping) = 0;
};

class MemorySleepNoticeWorld : public SleepNoticeWorld {
 public:
  SleepNotice& notice() override { return _notice; }
  void announce(bool sleeping) override { sleeping ? _notice.announceSleep() : _notice.announceResume(); }

 private:
  InMemorySleepNotice _notice;
};

// Plays the login manager.
class LogindWorld : public SleepNoticeWorld {
 public:
  ~LogindWorld() override { QDBusConnection::disconnectFromBus(QStringLiteral("logind")); }
  std::string problem() override {
    if (!support::PrivateBus::isPossible()) return "dbus-daemon is not installed";
    _bus = std::make_unique<support::PrivateBus>();
    _bus->environment().set("DBUS_SYSTEM_BUS_ADDRESS", _bus->address());
    EXPECT_TRUE(connection().registerService(QStringLiteral("org.freedesktop.login1")));
    _notice = std::make_unique<LogindSleepNotice>();
    return {};
  }
  SleepNotice& notice() override { return *_notice; }
  void announce(bool sleeping) override {
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                                   QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
    signal << sleeping;
    connection().send(signal);
  }

 private:
  QDBusConnection connection() {
    return QDBusConnection::connectToBus(QString::fromStdString(_bus->address()), QStringLiteral("logind"));
  }

  std::unique_ptr<support::PrivateBus> _bus;
  std::unique_ptr<LogindSleepNotice> _notice;
};

class SleepNoticeContract : public support::Contract<SleepNoticeWorld> {
 protected:
  std::string heard;
};

}  // namespace

TEST_P(SleepNoticeContract, SleepAndResumeAreToldInTheirOrder) {
  const auto observer = world->notice().observe([this] { heard += "s"; }, [this] { heard += "r"; });
  ASSERT_TRUE(observer);
  for (const bool sleeping : {true, false, true, false, false}) world->announce(sleeping);
  EXPECT_TRUE(waitUntil([this] { return heard.size() == 5; }));
  EXPECT_EQ(heard, "srsrr");
}

TEST_P(SleepNoticeContract, AnObserverThatIsGoneHearsNothing) {
  auto observer = world->notice().observe([this] { heard += "s"; }, [this] { heard += "r"; });
  observer.reset();
  world->announce(true);
  EXPECT_FALSE(waitUntil([this] { return !heard.empty(); }, support::kQuiet));
}

TEST_P(SleepNoticeContract, AHandlerMayEndItsOwnObservation) {
  std::unique_ptr<SleepObserver> observer;
  observer = world->notice().observe(
      [&] {
        observer.reset();
        heard += "s";
      },
      [this] { heard += "r"; });
  world->announce(true);
  world->announce(false);
  EXPECT_TRUE(waitUntil([this] { return heard == "s"; }));
  EXPECT_FALSE(waitUntil([this] { return heard != "s"; }, support::kQuiet));
}

INSTANTIATE_TEST_SUITE_P(Notices, SleepNoticeContract,
                         testing::Values(support::party<SleepNoticeWorld, MemorySleepNoticeWorld>("InMemory"),
                                         support::party<SleepNoticeWorld, LogindWorld>("Logind")),
                         support::kPartyName);

TEST(InMemorySleepNotice, GivesNoObserverWhenItIsTakenAway) {
  InMemorySleepNotice notice;
  notice.setAvailable(false);
  EXPECT_FALSE(notice.observe([] {}, [] {}));
}

TEST(LogindSleepNotice, WithoutASystemBusThereIsNoNotice) {
  EXPECT_FALSE(LogindSleepNotice("unix:path=/nonexistent/bus").observe([] {}, [] {}));
}

TEST(LogindSleepNotice, ASignalOfSomebodyElseDoesNotCount) {
  if (!support::PrivateBus::isPossible()) GTEST_SKIP() << "dbus-daemon is not installed";
  const support::PrivateBus bus;
  int calls = 0;
  LogindSleepNotice notice(bus.address());
  const auto observer = notice.observe([&] { ++calls; }, [&] { ++calls; });
  ASSERT_TRUE(observer);
  QDBusMessage signal =
      QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                                 QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
  signal << true;
  QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("impostor")).send(signal);
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, support::kQuiet));
  QDBusConnection::disconnectFromBus(QStringLiteral("impostor"));
}

}  // namespace pellora
