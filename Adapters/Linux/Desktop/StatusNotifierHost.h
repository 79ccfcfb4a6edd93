// The places for tray items that Linux desktops offer: org.kde.StatusNotifierWatcher with a registered host on the
// session bus, and where there is none after a while, the older place of X desktops. Only watches; nothing of the tray
// may be touched before the host is there, or the item never appears in it.
// Tested by Tests/Adapters/DesktopBusTests.cpp and Tests/Desktop/desktop-test.
#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>

#include "Adapters/Linux/Desktop/XEmbedTray.h"
#include "PelloraMessagesCore/Ports/TrayHost.h"

namespace pellora {

class StatusNotifierHost : public QObject, public TrayHost {
  Q_OBJECT

 public:
  // Panels that offer both places announce the older one first, a moment before the other.
  static constexpr std::chrono::milliseconds kPreference{3000};

  void observe(std::function<void()> appeared) override;

 private:
  Q_SLOT void ask();
  void watchBus();
  void report();

  std::function<void()> _appeared;
  std::unique_ptr<QDBusServiceWatcher> _watcher;
  std::unique_ptr<XEmbedTray> _olderPlace;
  QTimer _preference;
};

}  // namespace pellora
