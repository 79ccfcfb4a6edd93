// Whether windows can be shown at all. The window library ends the process when it can't reach a display, so this
// is asked before it starts. Tested by Tests/Desktop/desktop-test.
#pragma once

namespace pellora {

namespace DisplayServer {

// Looks at QT_QPA_PLATFORM, WAYLAND_DISPLAY and DISPLAY, and tries the connections that they name.
bool isReachable();

}  // namespace DisplayServer

}  // namespace pellora
