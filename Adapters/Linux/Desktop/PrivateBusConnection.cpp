#include "Adapters/Linux/Desktop/PrivateBusConnection.h"

#include <QDBusMessage>
#include <atomic>

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

}  // namespace pellora
