// The older place for tray items, which panels of X desktops announce by owning the selection _NET_SYSTEM_TRAY_S<n>.
// Only watches, over a connection of its own to the X server. Needs the event loop of the main thread.
// Tested by Tests/Desktop/desktop-test.
#pragma once

#include <QSocketNotifier>
#include <cstdint>
#include <functional>
#include <memory>

struct xcb_connection_t;

namespace pellora {

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

}  // namespace pellora
