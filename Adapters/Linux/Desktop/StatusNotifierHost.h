// Trays: the host of status notifier items, and the older kind that windows are embedded into.
#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Desktop.h"

struct xcb_connection_t;

namespace pellora {

// The older place for tray items, which panels of X desktops announce by owning the selection _NET_SYSTEM_TRAY_S<n>.
// Only watches, over a connection of its own to the X server. Needs the event loop of the main thread.
// Tested by Tests/Desktop/desktop-test.
class XEmbedTray {
 public:
  // Calls `appeared` on the main thread when there is such a place, at once or later, and again whenever a new one
  // announces itself. Does nothing where there is no X server.
  explicit XEmbedTray(std::function<void()> appeared);
  ~XEmbedTray();
  XEmbedTray(const XEmbedTray&) = delete;
  XEmbedTray& operator=(const XEmbedTray&) = delete;

  bool isThere() const;

 private:
  void takeEvents();

  std::function<void()> _appeared;
  xcb_connection_t* _connection = nullptr;
  std::uint32_t _selection = 0;  // atoms
  std::uint32_t _manager = 0;
  std::unique_ptr<QSocketNotifier> _notifier;
};

// The places for tray items that Linux desktops offer: org.kde.StatusNotifierWatcher with a registered host on the
// session bus, and where there is none after a while, the older place of X desktops. Only watches; nothing of the tray
// may be touched before the host is there, or the item never appears in it.
// Tested by Tests/Adapters/DesktopBusTests.cpp and Tests/Desktop/desktop-test.
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
