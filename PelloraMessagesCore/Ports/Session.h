// Ports of the user's session: which process is the one helper, whether it starts at login, when it has to end, when
// the machine sleeps. Each platform tells these in its own way.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace pellora {

// Makes sure that one helper runs per user: the first process that claims the place keeps it until it ends, and a later
// one makes the first one show itself.
class AppInstance {
 public:
  // The desktop's permission to come to the front, as it was handed to the process that asks; empty without one.
  using Activated = std::function<void(const std::string& token)>;

  // The request of a process that finds the place taken to the one that has it.
  enum class Later { showsFirst, staysQuiet };

  virtual ~AppInstance() = default;

  // True for the first. `activated` is called on the main thread whenever another process wants this one to show
  // itself. False when another process has the place; with `showsFirst` that process has then been asked to show
  // itself, and `token` was passed on. Called once, on the main thread; may wait for the other process, three seconds
  // at most.
  virtual bool claim(Activated activated, Later later, const std::string& token) = 0;
};

// Whether the platform starts the helper when the user logs in.
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

// Requests of the system that the process end.
class QuitRequests {
 public:
  virtual ~QuitRequests() = default;

  // Calls `quit` on the main thread for each request.
  virtual void observe(std::function<void()> quit) = 0;
};

// Notice that the machine is about to sleep and that it has resumed. A resume may come without the notice before
// it, and either may come twice. Handlers are called on the main thread.

// A registered observer; destroying it ends the observation.
class SleepObserver {
 public:
  virtual ~SleepObserver() = default;
};

class SleepNotice {
 public:
  virtual ~SleepNotice() = default;

  // Null when the platform gives no such notice.
  virtual std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) = 0;
};

}  // namespace pellora
