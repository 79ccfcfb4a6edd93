// Everything that the helper learns and says by signals on the user's session bus and the system bus: requests to read,
// sleep and resume, the preference for dark windows.
#pragma once

#include <QDBusVariant>
#include <QObject>
#include <string>

#include "PelloraMessagesCore/Ports/Desktop.h"
#include "PelloraMessagesCore/Ports/Events.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

class PrivateBusConnection;

// Notifications as signals without arguments on the user's session bus. The part of a name before its last dot is
// the signal's interface, what follows is the signal: "app.pellora.messages.readNow" is `readNow` of interface
// `app.pellora.messages`, sent from the object `/app/pellora/messages`. Without a session bus posting gives false
// and observing null, at once; no bus is ever started. A posted signal has reached the bus when post returns, so a
// process may end right after it. Tested by Tests/Adapters/NotificationCenterTests.cpp.
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

// Suspend and resume as the login manager announces them on the system bus (signal PrepareForSleep). Without a
// system bus, or with an address that cannot be reached, observing gives null.
// Tested by Tests/Adapters/SleepNoticeTests.cpp.
class LogindSleepNotice : public SleepNotice {
 public:
  // At $DBUS_SYSTEM_BUS_ADDRESS, else where system buses listen.
  LogindSleepNotice();
  explicit LogindSleepNotice(std::string busAddress) : _busAddress(std::move(busAddress)) {}

  std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) override;

 private:
  std::string _busAddress;
};

// The user's preference for dark windows as the desktop portal reports it on the session bus
// (org.freedesktop.appearance, color-scheme). Needs the event loop of the main thread.
// Tested by Tests/Adapters/DesktopBusTests.cpp.
class PortalAppearance : public QObject, public Appearance {
  Q_OBJECT

 public:
  void observe(std::function<void(bool prefersDark)> changed) override;

 private:
  Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  void ask();
  void take(const QVariant& value);

  std::function<void(bool)> _changed;
};

}  // namespace pellora
