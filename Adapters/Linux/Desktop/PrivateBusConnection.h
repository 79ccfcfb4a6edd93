// A connection to a message bus that nobody else in the process shares; closed when it goes. Never starts a bus.
#pragma once

#include <QDBusConnection>
#include <string>

namespace pellora {

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

}  // namespace pellora
