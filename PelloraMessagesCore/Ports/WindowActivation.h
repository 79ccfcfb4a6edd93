// Brings a window of ours to the front, from another workspace and from behind other windows too. Desktops let programs
// do that only with the user's action behind it; the token that comes with such an action is the proof.
#pragma once

#include <cstdint>
#include <string>

namespace pellora {

class WindowActivation {
 public:
  virtual ~WindowActivation() = default;

  // Called on the main thread before the window is shown. An empty token is passed over.
  virtual void useToken(const std::string& token) = 0;

  // Called on the main thread after the window was shown; `window` is the platform's number for it. Never waits, and a
  // desktop that refuses does so silently.
  virtual void bringToFront(std::uint64_t window) = 0;
};

}  // namespace pellora
