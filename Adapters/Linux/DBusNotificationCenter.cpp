#include "Adapters/Linux/DBusNotificationCenter.h"

#include <QDBusMessage>
#include <algorithm>
#include <optional>

#include "Adapters/Linux/BusSignalReceiver.h"
#include "Adapters/Linux/PrivateBusConnection.h"
#include "Adapters/Linux/SessionBusAddress.h"

namespace pellora {

namespace {

struct SignalName {
  QString interface;
  QString member;
  QString path;  // the interface's name as an object path
};

// Absent for a name with nothing before or behind its last dot.
std::optional<SignalName> signalName(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) return std::nullopt;
  std::string path = "/" + name.substr(0, dot);
  std::ranges::replace(path, '.', '/');
  return SignalName{QString::fromStdString(name.substr(0, dot)), QString::fromStdString(name.substr(dot + 1)),
                    QString::fromStdString(path)};
}

class DBusObserver : public NotificationObserver {
 public:
  DBusObserver(std::shared_ptr<PrivateBusConnection> connection, std::function<void()> handler)
      : _connection(std::move(connection)), _receiver([handler = std::move(handler)](bool) { handler(); }) {}

  bool listen(const SignalName& name) {
    return _connection->bus().connect(QString(), name.path, name.interface, name.member, &_receiver,
                                      BusSignalReceiver::plainSlot());
  }

 private:
  std::shared_ptr<PrivateBusConnection> _connection;
  BusSignalReceiver _receiver;
};

}  // namespace

DBusNotificationCenter::DBusNotificationCenter() = default;
DBusNotificationCenter::~DBusNotificationCenter() = default;

PrivateBusConnection* DBusNotificationCenter::connection() {
  if (_connection && _connection->isConnected()) return _connection.get();
  const auto address = SessionBusAddress::find();
  if (!address) return nullptr;
  auto fresh = std::make_shared<PrivateBusConnection>(*address);
  if (!fresh->isConnected()) return nullptr;
  _connection = std::move(fresh);
  return _connection.get();
}

bool DBusNotificationCenter::post(const std::string& name) {
  const auto signal = signalName(name);
  PrivateBusConnection* bus = signal ? connection() : nullptr;
  if (bus == nullptr) return false;
  const QDBusMessage message = QDBusMessage::createSignal(signal->path, signal->interface, signal->member);
  return bus->bus().send(message) && bus->flush();
}

std::unique_ptr<NotificationObserver> DBusNotificationCenter::observe(const std::string& name,
                                                                      std::function<void()> handler) {
  const auto signal = signalName(name);
  if (!signal || connection() == nullptr) return nullptr;
  auto observer = std::make_unique<DBusObserver>(_connection, std::move(handler));
  if (!observer->listen(*signal) || !_connection->flush()) return nullptr;
  return observer;
}

}  // namespace pellora
