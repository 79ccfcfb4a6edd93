// Notifications as signals without arguments on the user's session bus. The part of a name before its last dot is
// the signal's interface, what follows is the signal: "app.pellora.messages.readNow" is `readNow` of interface
// `app.pellora.messages`, sent from the object `/app/pellora/messages`. Without a session bus posting gives false
// and observing null, at once; no bus is ever started. A posted signal has reached the bus when post returns, so a
// process may end right after it. Tested by Tests/Adapters/NotificationCenterTests.cpp.
#pragma once

#include "PelloraMessagesCore/Ports/NotificationCenter.h"

namespace pellora {

class PrivateBusConnection;

class DBusNotificationCenter : public NotificationCenter {
 public:
  DBusNotificationCenter();
  ~DBusNotificationCenter() override;

  bool post(const std::string& name) override;
  std::unique_ptr<NotificationObserver> observe(const std::string& name, std::function<void()> handler) override;

 private:
  // Connected, or null.
  PrivateBusConnection* connection();

  std::shared_ptr<PrivateBusConnection> _connection;
};

}  // namespace pellora
