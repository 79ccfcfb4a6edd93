// Whether the user prefers dark windows, as the desktop says.
#pragma once

#include <functional>

namespace pellora {

class Appearance {
 public:
  virtual ~Appearance() = default;

  // Calls `changed` on the main thread with the preference as it is and whenever it changes; never, when the
  // desktop does not say.
  virtual void observe(std::function<void(bool prefersDark)> changed) = 0;
};

}  // namespace pellora
