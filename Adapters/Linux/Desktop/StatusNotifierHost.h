// The place for tray items as desktops offer it on the session bus: org.kde.StatusNotifierWatcher with a registered
// host. Only watches; nothing of the tray may be touched before the host is there, or the item never appears.
// Tested by Tests/Adapters/DesktopBusTests.cpp.
#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <memory>

#include "PelloraMessagesCore/Ports/TrayHost.h"

namespace pellora {

class StatusNotifierHost : public QObject, public TrayHost {
  Q_OBJECT

 public:
  void observe(std::function<void()> appeared) override;

 private:
  Q_SLOT void ask();
  void report();

  std::function<void()> _appeared;
  std::unique_ptr<QDBusServiceWatcher> _watcher;
};

}  // namespace pellora
