#include "PrivateKeyring.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <atomic>

#include "EventLoopWait.h"

namespace pellora::support {

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
