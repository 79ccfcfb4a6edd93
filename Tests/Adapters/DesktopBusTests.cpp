// The preference for dark windows and the place for tray items, with stand-ins for the desktop on the session bus.
// The session bus of a process is chosen once, so these run in processes of their own: the test program starts
// itself again on a private bus.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QUrl>
#include <csignal>
#include <fstream>
#include <optional>

#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Adapters/Linux/Desktop/FileOpening.h"
#include "Adapters/Linux/Desktop/StatusNotifierHost.h"
#include "Adapters/Linux/Process/SignalQuitRequests.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using support::waitUntil;

// Answers every call as told, and records it.
class StandIn : public QDBusVirtualObject {
 public:
  StandIn(const QString& service, const QString& path, std::function<QVariant(const QDBusMessage&)> answer)
      : _bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, service)),
        _service(service),
        _answer(std::move(answer)) {
    EXPECT_TRUE(_bus.registerVirtualObject(path, this));
    EXPECT_TRUE(_bus.registerService(service));
  }
  ~StandIn() override { QDBusConnection::disconnectFromBus(_service); }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    asked.push_back(message);
    const QVariant value = _answer(message);
    connection.send(value.isValid() ? message.createReply(value)
                                    : message.createErrorReply(QStringLiteral("org.example.No"), QString()));
    return true;
  }
  void signal(const QString& path, const QString& interface, const QString& name, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createSignal(path, interface, name);
    message.setArguments(arguments);
    _bus.send(message);
  }

  std::vector<QDBusMessage> asked;

 private:
  QDBusConnection _bus;
  QString _service;
  std::function<QVariant(const QDBusMessage&)> _answer;
};

QVariant wrapped(const QVariant& value) {
  return QVariant::fromValue(QDBusVariant(value));
}

// Runs the body in a new process that has a private session bus.
class OnABus : public testing::Test {
 protected:
  void run(void (*body)()) {
    if (qEnvironmentVariableIsSet("PELLORA_ON_A_BUS")) return body();
    if (!support::PrivateBus::isPossible()) GTEST_SKIP() << "dbus-daemon is not installed";
    support::PrivateBus bus;
    ASSERT_TRUE(bus.isRunning());
    bus.environment().set("PELLORA_ON_A_BUS", "1");
    // The new process runs this test even if it belongs to another shard.
    bus.environment().set("GTEST_TOTAL_SHARDS", "1");
    bus.environment().set("GTEST_SHARD_INDEX", "0");
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    support::ChildProcess again(QCoreApplication::applicationFilePath().toStdString(),
                                {std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name()});
    const std::string output = again.finish();
    EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
  }
};

constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kWatcher[] = "org.kde.StatusNotifierWatcher";
constexpr char kWatcherPath[] = "/StatusNotifierWatcher";

TEST_F(OnABus, ThePortalSaysWhetherDarkIsPreferredAndWhenThatChanges) {
  run([] {
    StandIn portal(QLatin1String(kPortal), QLatin1String(kPortalPath),
                   [](const QDBusMessage&) { return wrapped(wrapped(1U)); });
    PortalAppearance appearance;
    std::optional<bool> dark;
    appearance.observe([&dark](bool prefersDark) { dark = prefersDark; });
    EXPECT_TRUE(waitUntil([&] { return dark == true; }));
    const auto change = [&portal](const char* group, const char* key, const QVariant& value) {
      portal.signal(QLatin1String(kPortalPath), QStringLiteral("org.freedesktop.portal.Settings"),
                    QStringLiteral("SettingChanged"), {QLatin1String(group), QLatin1String(key), wrapped(value)});
    };
    change("org.freedesktop.appearance", "accent-color", 0U);
    change("org.example", "color-scheme", 0U);
    change("org.freedesktop.appearance", "color-scheme", QStringLiteral("nonsense"));
    change("org.freedesktop.appearance", "color-scheme", 2U);
    EXPECT_TRUE(waitUntil([&] { return dark == false; }));
  });
}

TEST_F(OnABus, WithoutAPortalThereIsNoPreference) {
  run([] {
    StandIn portal(QLatin1String(kPortal), QLatin1String(kPortalPath), [](const QDBusMessage&) { return QVariant(); });
    PortalAppearance appearance;
    bool isCalled = false;
    appearance.observe([&isCalled](bool) { isCalled = true; });
    EXPECT_TRUE(waitUntil([&] { return !portal.asked.empty(); }));
    EXPECT_FALSE(waitUntil([&] { return isCalled; }, std::chrono::milliseconds(100)));
  });
}

TEST_F(OnABus, APlaceForItemsThatIsThereIsReportedOnce) {
  run([] {
    StandIn watcher(QLatin1String(kWatcher), QLatin1String(kWatcherPath),
                    [](const QDBusMessage&) { return wrapped(true); });
    StatusNotifierHost host;
    int appeared = 0;
    host.observe([&appeared] { ++appeared; });
    EXPECT_TRUE(waitUntil([&] { return appeared == 1; }));
    watcher.signal(QLatin1String(kWatcherPath), QLatin1String(kWatcher), QStringLiteral("StatusNotifierHostRegistered"),
                   {});
    EXPECT_FALSE(waitUntil([&] { return appeared > 1; }, std::chrono::milliseconds(100)));
  });
}

TEST_F(OnABus, AWatcherWithoutAHostIsNoPlaceUntilTheHostComes) {
  run([] {
    StatusNotifierHost host;
    int appeared = 0;
    host.observe([&appeared] { ++appeared; });
    bool hasHost = false;
    StandIn watcher(QLatin1String(kWatcher), QLatin1String(kWatcherPath),
                    [&hasHost](const QDBusMessage&) { return wrapped(hasHost); });
    EXPECT_TRUE(waitUntil([&] { return !watcher.asked.empty(); }));
    EXPECT_EQ(appeared, 0);
    hasHost = true;
    watcher.signal(QLatin1String(kWatcherPath), QLatin1String(kWatcher), QStringLiteral("StatusNotifierHostRegistered"),
                   {});
    EXPECT_TRUE(waitUntil([&] { return appeared == 1; }));
  });
}

TEST_F(OnABus, TheFileManagerIsAskedForTheFolder) {
  run([] {
    const support::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "a b%é/Messages");
    StandIn manager(QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
                    [](const QDBusMessage&) { return QVariant(true); });
    FileManagerPrivacySettings().show(folder / "a b%é/Messages/chat.db");
    EXPECT_TRUE(waitUntil([&] { return !manager.asked.empty(); }));
    EXPECT_EQ(manager.asked[0].member(), QStringLiteral("ShowFolders"));
    const QStringList urls = manager.asked[0].arguments().at(0).toStringList();
    ASSERT_EQ(urls.size(), 1);
    EXPECT_EQ(QUrl(urls[0]).toLocalFile().toStdString(), (folder / "a b%é/Messages").string());
  });
}

TEST_F(OnABus, ThePortalIsAskedWhereNoFileManagerAnswers) {
  run([] {
    const support::TemporaryFolder folder;
    StandIn portal(QLatin1String(kPortal), QLatin1String(kPortalPath),
                   [](const QDBusMessage&) { return QVariant(true); });
    FileManagerPrivacySettings().show(folder / "Messages/chat.db");
    EXPECT_TRUE(waitUntil([&] { return !portal.asked.empty(); }));
    EXPECT_EQ(portal.asked[0].member(), QStringLiteral("OpenFile"));
  });
}

// The adapters that speak to the desktop, with stand-ins for it on a private bus.

TEST(FileManagerPrivacySettings, ShowsTheNearestFolderThatExists) {
  const support::TemporaryFolder folder;
  const auto database = folder / "Library/Messages/chat.db";
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder.path());
  std::filesystem::create_directories(folder / "Library");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder / "Library");
  std::filesystem::create_directories(folder / "Library/Messages");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder / "Library/Messages");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder("/nowhere/at/all/chat.db"), "/");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder("chat.db"), "");
}

TEST(FileManagerPrivacySettings, AFileInPlaceOfAFolderIsPassedBy) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "Library") << "x";
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(folder / "Library/Messages/chat.db"), folder.path());
}

TEST(SignalQuitRequests, HandsSignalsToTheEventLoop) {
  int quits = 0;
  {
    SignalQuitRequests requests;
    requests.observe([&quits] { ++quits; });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
      const int before = quits;
      raise(signal);
      EXPECT_EQ(quits, before) << "called from within the handler";
      EXPECT_TRUE(waitUntil([&] { return quits > before; }));
    }
  }
}

}  // namespace

}  // namespace pellora
