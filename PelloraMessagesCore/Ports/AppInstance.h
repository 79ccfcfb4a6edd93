// Makes sure that one helper runs for the user: the first process that claims the place keeps it until it ends, and
// whoever comes later makes the first one show itself.
#pragma once

#include <functional>

namespace pellora {

class AppInstance {
 public:
  virtual ~AppInstance() = default;

  // True for the first. `activated` is called on the main thread whenever somebody wants this process to show
  // itself. False when another process has the place; that process has then been asked to show itself.
  virtual bool claim(std::function<void()> activated) = 0;
};

}  // namespace pellora
