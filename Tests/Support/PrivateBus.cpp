#include "Tests/Support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <atomic>
#include <fstream>
#include <memory>

#include "EventLoopWait.h"
#include "PrivateBus.h"

namespace pellora::support {

namespace {

constexpr char kConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::PrivateBus() {
  const std::string folder = _folder.path().string();
  for (const char* name : {"data", "config", "cache", "runtime"}) {
    std::filesystem::create_directory(_folder / name);
    std::filesystem::permissions(_folder / name, std::filesystem::perms::owner_all);
  }
  std::string configuration = kConfiguration;
  configuration.replace(configuration.find('@'), 1, folder);
  std::ofstream(_folder / "bus.conf") << configuration;
  _environment.set("HOME", folder);
  _environment.set("XDG_DATA_HOME", folder + "/data");
  _environment.set("XDG_CONFIG_HOME", folder + "/config");
  _environment.set("XDG_CACHE_HOME", folder + "/cache");
  _environment.set("XDG_RUNTIME_DIR", folder + "/runtime");
  _daemon = std::make_unique<ChildProcess>(
      "dbus-daemon", std::vector<std::string>{"--config-file=" + folder + "/bus.conf", "--nofork", "--nopidfile",
                                              "--nosyslog", "--print-address=1"});
  _address = _daemon->readLine();
  _environment.set("DBUS_SESSION_BUS_ADDRESS", _address);
}

bool PrivateBus::hasName(const std::string& name) const {
  static std::atomic<int> counter = 0;
  const QString connectionName = QStringLiteral("private-bus-%1").arg(++counter);
  bool result = false;
  {
    const QDBusConnection connection = QDBusConnection::connectToBus(QString::fromStdString(_address), connectionName);
    result = connection.isConnected() && connection.interface()->isServiceRegistered(QString::fromStdString(name));
  }
  QDBusConnection::disconnectFromBus(connectionName);
  return result;
}

// A secret as it travels in a session without encryption.
struct PlainSecret {
  QDBusObjectPath session;
  QByteArray value;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PlainSecret& secret) {
  argument.beginStructure();
  argument << secret.session << QByteArray() << secret.value << QStringLiteral("text/plain");
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PlainSecret&) {
  return argument;
}

namespace {

constexpr char kService[] = "org.freedesktop.secrets";
constexpr char kLoginCollection[] = "/org/freedesktop/secrets/collection/login";

QDBusMessage call(const std::string& address, const char* path, const char* interface, const char* method,
                  const QVariantList& arguments) {
  static std::atomic<int> counter = 0;
  const QString name = QStringLiteral("private-keyring-%1").arg(++counter);
  QDBusMessage answer;
  {
    QDBusConnection connection = QDBusConnection::connectToBus(QString::fromStdString(address), name);
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(path),
                                                          QLatin1String(interface), QLatin1String(method));
    message.setArguments(arguments);
    answer = connection.call(message, QDBus::Block, 10'000);
  }
  QDBusConnection::disconnectFromBus(name);
  return answer;
}

}  // namespace

bool PrivateKeyring::start(bool unlocked) {
  std::vector<std::string> arguments{"--foreground", "--components=secrets",
                                     "--control-directory=" + (_bus.home() / "runtime" / "keyring").string()};
  if (unlocked) arguments.emplace_back("--unlock");
  _daemon = std::make_unique<ChildProcess>("gnome-keyring-daemon", arguments, unlocked ? "password" : "");
  return waitUntil([this] { return _bus.hasName(kService); });
}

void PrivateKeyring::stop() {
  _daemon.reset();
  waitUntil([this] { return !_bus.hasName(kService); });
}

bool PrivateKeyring::lock() {
  const QVariant paths = QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath(QLatin1String(kLoginCollection))});
  const QDBusMessage answer =
      call(_bus.address(), "/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "Lock", {paths});
  return answer.type() == QDBusMessage::ReplyMessage;
}

bool PrivateKeyring::unlock() {
  qDBusRegisterMetaType<PlainSecret>();
  const QString name = QStringLiteral("private-keyring-unlock");
  bool isDone = false;
  {
    QDBusConnection connection = QDBusConnection::connectToBus(QString::fromStdString(_bus.address()), name);
    const auto ask = [&connection](const char* interface, const char* method, const QVariantList& arguments) {
      QDBusMessage message =
          QDBusMessage::createMethodCall(QLatin1String(kService), QStringLiteral("/org/freedesktop/secrets"),
                                         QLatin1String(interface), QLatin1String(method));
      message.setArguments(arguments);
      return connection.call(message, QDBus::Block, 10'000);
    };
    const QDBusMessage session = ask("org.freedesktop.Secret.Service", "OpenSession",
                                     {QStringLiteral("plain"), QVariant::fromValue(QDBusVariant(QString()))});
    const PlainSecret password{session.arguments().value(1).value<QDBusObjectPath>(), "password"};
    isDone = ask("org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface", "UnlockWithMasterPassword",
                 {QVariant::fromValue(QDBusObjectPath(QLatin1String(kLoginCollection))), QVariant::fromValue(password)})
                 .type() == QDBusMessage::ReplyMessage;
  }
  QDBusConnection::disconnectFromBus(name);
  return isDone;
}

std::vector<std::string> PrivateKeyring::items() const {
  const QDBusMessage answer = call(_bus.address(), kLoginCollection, "org.freedesktop.DBus.Properties", "Get",
                                   {QStringLiteral("org.freedesktop.Secret.Collection"), QStringLiteral("Items")});
  std::vector<std::string> result;
  if (answer.type() != QDBusMessage::ReplyMessage) return result;
  const QVariant value = answer.arguments().at(0).value<QDBusVariant>().variant();
  for (const QDBusObjectPath& path : qdbus_cast<QList<QDBusObjectPath>>(value))
    result.push_back(path.path().toStdString());
  return result;
}

}  // namespace pellora::support
