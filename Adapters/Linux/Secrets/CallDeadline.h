// Cancels a GLib operation of this thread once its time is over: blocking calls that have no time-out of their own
// take `cancellable()`.
#pragma once

#include <gio/gio.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace pellora {

class CallDeadline {
 public:
  explicit CallDeadline(std::chrono::milliseconds patience);
  CallDeadline(const CallDeadline&) = delete;
  CallDeadline& operator=(const CallDeadline&) = delete;
  ~CallDeadline();

  GCancellable* cancellable() const { return _cancellable; }
  // At least 1.
  int remainingMilliseconds() const;
  bool isOver() const { return g_cancellable_is_cancelled(_cancellable) != 0; }

 private:
  std::chrono::steady_clock::time_point _end;
  GCancellable* _cancellable = g_cancellable_new();
  std::mutex _mutex;
  std::condition_variable _wake;
  bool _finished = false;
  std::thread _guard;
};

}  // namespace pellora
