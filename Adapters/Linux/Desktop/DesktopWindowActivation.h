// Windows brought to the front the two ways that Linux desktops know: a request to the X window manager as if the user
// had chosen the window in a list, or an activation token handed to the Wayland compositor. Needs a QGuiApplication.
// Tested by Tests/Desktop/desktop-test.
#pragma once

#include "PelloraMessagesCore/Ports/Desktop.h"

namespace pellora {

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
