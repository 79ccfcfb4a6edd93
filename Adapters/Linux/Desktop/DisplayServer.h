// The display server: whether windows can be shown at all, and how one comes to the front. Tested by
// Tests/Desktop/desktop-test.
#pragma once

#include <memory>

#include "PelloraMessagesCore/Ports/Desktop.h"

namespace pellora {

// The window library ends the process when it can't reach a display, so this is asked before it starts.
namespace DisplayServer {

// Looks at QT_QPA_PLATFORM, WAYLAND_DISPLAY and DISPLAY, and tries the connections that they name. Null when windows
// can't be shown. Keep what it gives until the window library is connected itself: some servers restart, and
// refuse connections meanwhile, when the last connection to them ends.
std::shared_ptr<void> reach();

}  // namespace DisplayServer

// Windows brought to the front the two ways that Linux desktops know: a request to the X window manager as if the user
// had chosen the window in a list, or an activation token handed to the Wayland compositor. Needs a QGuiApplication.
class DesktopWindowActivation : public WindowActivation {
 public:
  // The token that this process was launched with. Ask before a QGuiApplication is made, which takes it away.
  static std::string launchToken();

  void useToken(const std::string& token) override;
  void bringToFront(std::uint64_t window) override;

 private:
  std::uint32_t _time = 0;  // of the user's action in the X server's milliseconds; 0 when it is not known
};

}  // namespace pellora
