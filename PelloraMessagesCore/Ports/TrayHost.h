// Whether the desktop has a place where programs show an item with a menu. It may come after the helper.
#pragma once

#include <functional>

namespace pellora {

class TrayHost {
 public:
  virtual ~TrayHost() = default;

  // Calls `appeared` once, on the main thread, as soon as there is such a place (never, if there is none).
  virtual void observe(std::function<void()> appeared) = 0;
};

}  // namespace pellora
