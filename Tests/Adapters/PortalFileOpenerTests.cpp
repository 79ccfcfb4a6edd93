#include <gmock/gmock.h>
#include <sys/stat.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "Adapters/Linux/Desktop/FileOpening.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/ScopedEnvironment.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

// A portal that takes files and gives one answer to each.
class Portal : public QDBusVirtualObject {
 public:
  Portal(const std::string& address, uint answer) : _connection(address), _answer(answer) {
    _connection.bus().registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                            QDBusConnection::SubPath);
    _connection.bus().registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
  }

  QString introspect(const QString&) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
    if (message.member() != QStringLiteral("OpenFile")) return false;
    const int file = message.arguments().at(1).value<QDBusUnixFileDescriptor>().fileDescriptor();
    std::ifstream stream("/proc/self/fd/" + std::to_string(file));
    opened.assign(std::istreambuf_iterator<char>(stream), {});
    const auto options = qdbus_cast<QVariantMap>(message.arguments().at(2));
    const QString path = QStringLiteral("/org/freedesktop/portal/desktop/request/") +
                         message.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_')) + QLatin1Char('/') +
                         options[QStringLiteral("handle_token")].toString();
    bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
    QDBusMessage response = QDBusMessage::createTargetedSignal(
        message.service(), path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
    response << _answer << QVariantMap();
    return bus.send(response);
  }

  std::string opened;

 private:
  PrivateBusConnection _connection;
  uint _answer;
};

class PortalFileOpenerTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!support::PrivateBus::isPossible()) GTEST_SKIP() << "dbus-daemon is not installed";
    _bus.emplace();
    ASSERT_TRUE(_bus->isRunning());
    _file = _bus->home() / "page.html";
    std::ofstream(_file) << "the page";
    // An xdg-open that notes what it was given.
    fs::create_directory(_bus->home() / "bin");
    const fs::path script = _bus->home() / "bin/xdg-open";
    std::ofstream(script) << "#!/bin/sh\necho \"$1\" > " << (_bus->home() / "given").string() << ".part; mv "
                          << (_bus->home() / "given").string() << ".part " << (_bus->home() / "given").string() << "\n";
    ASSERT_EQ(::chmod(script.c_str(), 0700), 0);
    _environment.set("PATH", (_bus->home() / "bin").string() + ":/usr/bin:/bin");
    _environment.set("DISPLAY", ":77");
    _environment.unset("WAYLAND_DISPLAY");
  }

  std::optional<std::string> open() const {
    return PortalFileOpener::open(_file, [this] { return XdgOpen::start(_file); });
  }

  bool isGivenToXdgOpen() {
    return support::waitUntil([this] { return fs::exists(_bus->home() / "given"); });
  }

  std::optional<support::PrivateBus> _bus;
  support::ScopedEnvironment _environment;
  fs::path _file;
};

TEST_F(PortalFileOpenerTest, ThePortalGetsTheOpenFile) {
  Portal portal(_bus->address(), 0);
  EXPECT_EQ(open(), std::nullopt);
  EXPECT_EQ(portal.opened, "the page");
  EXPECT_FALSE(fs::exists(_bus->home() / "given"));
}

TEST_F(PortalFileOpenerTest, AUserWhoChoosesNoProgramIsNotAskedAgain) {
  Portal portal(_bus->address(), 1);
  EXPECT_EQ(open(), std::nullopt);
  EXPECT_FALSE(fs::exists(_bus->home() / "given"));
}

TEST_F(PortalFileOpenerTest, XdgOpenGetsWhatThePortalDoesNotOpen) {
  Portal portal(_bus->address(), 2);
  EXPECT_EQ(open(), std::nullopt);
  EXPECT_TRUE(isGivenToXdgOpen());
}

TEST_F(PortalFileOpenerTest, XdgOpenGetsItWithoutAPortal) {
  EXPECT_EQ(open(), std::nullopt);
  EXPECT_TRUE(isGivenToXdgOpen());
}

TEST_F(PortalFileOpenerTest, SaysWhenXdgOpenFindsNoProgram) {
  std::ofstream(_bus->home() / "bin/xdg-open") << "#!/bin/sh\nexit 3\n";
  const auto start = [this] { return XdgOpen::start(_file, std::chrono::minutes(5)); };
  EXPECT_EQ(PortalFileOpener::open(_file, start), "xdg-open finds no program for it");
}

TEST_F(PortalFileOpenerTest, AProgramThatRunsOnHasOpenedIt) {
  std::ofstream(_bus->home() / "bin/xdg-open") << "#!/bin/sh\nwhile [ -e \"$0\" ]; do sleep 0.1; done\n";
  EXPECT_TRUE(XdgOpen::start(_file, std::chrono::milliseconds(0)));
}

TEST_F(PortalFileOpenerTest, SaysWhenThereIsNothingToOpenItWith) {
  _environment.set("PATH", "/nowhere");
  EXPECT_EQ(open(), "there is no portal and no xdg-open");
  _environment.unset("DISPLAY");
  EXPECT_EQ(open(), "there is no desktop");
}

}  // namespace
}  // namespace pellora
