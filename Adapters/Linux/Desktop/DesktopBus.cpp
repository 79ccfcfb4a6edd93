#include "Adapters/Linux/Desktop/DesktopBus.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QDBusMessage>
#include <atomic>
#include <cstdlib>

#include "Adapters/Linux/Files/XdgFolders.h"

namespace pellora {

namespace {

constexpr int kFlushPatience = 3000;  // milliseconds

// The library knows connections by names.
QString freshName() {
  static std::atomic<unsigned> counter = 0;
  return QStringLiteral("pellora-%1").arg(++counter);
}

}  // namespace

PrivateBusConnection::PrivateBusConnection(const std::string& address)
    : _name(freshName()), _connection(QDBusConnection::connectToBus(QString::fromStdString(address), _name)) {}

PrivateBusConnection::~PrivateBusConnection() {
  QDBusConnection::disconnectFromBus(_name);
}

bool PrivateBusConnection::flush() {
  // The bus handles a connection's messages in their order, so its answer means that it has seen all before.
  const QDBusMessage question =
      QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                     QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
  return _connection.call(question, QDBus::Block, kFlushPatience).type() == QDBusMessage::ReplyMessage;
}

const char* BusSignalReceiver::plainSlot() {
  return SLOT(receive());
}

const char* BusSignalReceiver::truthSlot() {
  return SLOT(receiveTruth(bool));
}

}  // namespace pellora

namespace pellora::SessionBusAddress {

std::optional<std::string> find() {
  const char* value = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (value != nullptr && *value != '\0') {
    std::string address(value);
    if (address.find("autolaunch:") != std::string::npos || address.find(':') == std::string::npos) return std::nullopt;
    return address;
  }
  const auto runtime = XdgFolders::runtime();
  if (!runtime) return std::nullopt;
  const std::filesystem::path socket = *runtime / "bus";
  struct stat status{};
  if (stat(socket.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode) || status.st_uid != geteuid())
    return std::nullopt;
  return "unix:path=" + socket.string();
}

}  // namespace pellora::SessionBusAddress
