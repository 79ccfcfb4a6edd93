// Whether the platform starts the helper when the user logs in.
#pragma once

#include <functional>

namespace pellora {

class LoginItem {
 public:
  virtual ~LoginItem() = default;

  virtual bool isEnabled() const = 0;

  // Both may fail without a word; ask isEnabled afterwards.
  virtual void enable() = 0;
  virtual void disable() = 0;

  // Calls `changed` on the main thread after another program may have enabled or disabled the item, until this object
  // goes. Called once, on the main thread. Changes made through this object may be reported too.
  virtual void observe(std::function<void()> changed) = 0;
};

}  // namespace pellora
