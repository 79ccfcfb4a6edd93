// Buses: their addresses, connections of our own, and signals received from them.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>
#include <string>

namespace pellora {

namespace DesktopPortal {

inline const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");

}  // namespace DesktopPortal

// A connection to a message bus that nobody else in the process shares; closed when it goes. Never starts a bus.
class PrivateBusConnection {
 public:
  // To the bus at this address.
  explicit PrivateBusConnection(const std::string& address);
  PrivateBusConnection(const PrivateBusConnection&) = delete;
  PrivateBusConnection& operator=(const PrivateBusConnection&) = delete;
  ~PrivateBusConnection();

  bool isConnected() const { return _connection.isConnected(); }
  QDBusConnection& bus() { return _connection; }

  // Waits until the bus has taken everything sent so far. False when it doesn't say so within a few seconds.
  bool flush();

 private:
  QString _name;
  QDBusConnection _connection;
};

// Calls a function for a signal on a message bus, with the truth value that the signal may carry.
class BusSignalReceiver : public QObject {
  Q_OBJECT

 public:
  explicit BusSignalReceiver(std::function<void(bool)> handler) : _handler(std::move(handler)) {}

  // For connecting: signals without arguments, signals with one truth value.
  static const char* plainSlot();
  static const char* truthSlot();

  Q_SLOT void receive() { receiveTruth(false); }
  Q_SLOT void receiveTruth(bool value) {
    const std::function<void(bool)> handler = _handler;  // the handler may destroy this receiver
    handler(value);
  }

 private:
  std::function<void(bool)> _handler;
};

// Where the user's session bus listens, found without ever starting one: $DBUS_SESSION_BUS_ADDRESS, else the
// socket `bus` in $XDG_RUNTIME_DIR. Absent when there is neither, or when the address only asks for a new bus.
namespace SessionBusAddress {

std::optional<std::string> find();

}  // namespace SessionBusAddress

}  // namespace pellora
