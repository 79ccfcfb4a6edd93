// Notice that the machine is about to sleep and that it has resumed. A resume may come without the notice before
// it, and either may come twice. Handlers are called on the main thread.
#pragma once

#include <functional>
#include <memory>

namespace pellora {

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
