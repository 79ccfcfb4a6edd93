// Whether windows can be shown at all. The window library ends the process when it can't reach a display, so this
// is asked before it starts. Tested by Tests/Desktop/desktop-test.
#pragma once

#include <memory>

namespace pellora {

namespace DisplayServer {

// Looks at QT_QPA_PLATFORM, WAYLAND_DISPLAY and DISPLAY, and tries the connections that they name. Null when windows
// can't be shown. Keep what it gives until the window library is connected itself: some servers restart, and
// refuse connections meanwhile, when the last connection to them ends.
std::shared_ptr<void> reach();

}  // namespace DisplayServer

}  // namespace pellora
