// While it lives, Ctrl+C and a request to end wait, so that a file is either written or not begun. Afterwards what
// arrived in between takes its usual course.
#pragma once

#include <csignal>

namespace pellora {

class InterruptionGuard {
 public:
  InterruptionGuard();
  ~InterruptionGuard();
  // Whether such a request waits, for work that can be given up in the middle.
  static bool isRequested();

  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;

 private:
  struct sigaction _interrupt{};
  struct sigaction _terminate{};
};

}  // namespace pellora
