// Whether the platform starts the helper when the user logs in.
#pragma once

namespace pellora {

class LoginItem {
 public:
  virtual ~LoginItem() = default;

  virtual bool isEnabled() const = 0;

  // Both may fail without a word; ask isEnabled afterwards.
  virtual void enable() = 0;
  virtual void disable() = 0;
};

}  // namespace pellora
