// Makes sure that one helper runs per user: the first process that claims the place keeps it until it ends, and a later
// one makes the first one show itself.
#pragma once

#include <functional>
#include <string>

namespace pellora {

class AppInstance {
 public:
  // The desktop's permission to come to the front, as it was handed to the process that asks; empty without one.
  using Activated = std::function<void(const std::string& token)>;

  // What a process that finds the place taken asks of the one that has it.
  enum class Later { showsFirst, staysQuiet };

  virtual ~AppInstance() = default;

  // True for the first. `activated` is called on the main thread whenever another process wants this one to show
  // itself. False when another process has the place; with `showsFirst` that process has then been asked to show
  // itself, and `token` was passed on. Called once, on the main thread; may wait for the other process, three seconds
  // at most.
  virtual bool claim(Activated activated, Later later, const std::string& token) = 0;
};

}  // namespace pellora
