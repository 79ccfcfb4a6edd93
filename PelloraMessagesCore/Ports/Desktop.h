// Ports of the desktop around the window: its look, its tray, its windows, its settings. Each desktop has its own ways,
// and tests need none of them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace pellora {

// Whether the user prefers dark windows, as the desktop says.
class Appearance {
 public:
  virtual ~Appearance() = default;

  // Calls `changed` on the main thread with the preference as it is and whenever it changes; never, when the
  // desktop does not say.
  virtual void observe(std::function<void(bool prefersDark)> changed) = 0;
};

// Whether the desktop has a place where programs show an item with a menu. It may come after the helper.
class TrayHost {
 public:
  virtual ~TrayHost() = default;

  // Calls `appeared` once, on the main thread, as soon as there is such a place (never, if there is none).
  virtual void observe(std::function<void()> appeared) = 0;
};

// Brings a window of ours to the front, from another workspace and from behind other windows too. Desktops let programs
// do that only with the user's action behind it; the token that comes with such an action is the proof.
class WindowActivation {
 public:
  virtual ~WindowActivation() = default;

  // Called on the main thread before the window is shown. An empty token is passed over.
  virtual void useToken(const std::string& token) = 0;

  // Called on the main thread after the window was shown; `window` is the platform's number for it. Never waits, and a
  // desktop that refuses does so silently.
  virtual void bringToFront(std::uint64_t window) = 0;
};

// The place where the user lets the helper read the Messages database.
class PrivacySettings {
 public:
  virtual ~PrivacySettings() = default;

  // Shows the place to the user. Returns at once and fails without a word.
  virtual void show(const std::filesystem::path& database) = 0;
};

}  // namespace pellora
