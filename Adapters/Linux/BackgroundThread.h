// One thread that does what would hold up the event loop, one piece after the other, in the order given. It is
// started by the first piece, sleeps between pieces and ends with its owner, after the piece that it is at; pieces
// that were not begun by then are dropped.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace pellora {

class BackgroundThread {
 public:
  BackgroundThread() = default;
  ~BackgroundThread();
  BackgroundThread(const BackgroundThread&) = delete;
  BackgroundThread& operator=(const BackgroundThread&) = delete;

  // `work` must not throw.
  void run(std::function<void()> work);
  // Takes no more work, drops what waits and gives what is being done so long to end; false when it has not.
  bool finish(std::chrono::milliseconds patience);

 private:
  void loop();

  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::function<void()>> _waiting;
  bool _isBusy = false;
  bool _isEnding = false;
  std::thread _thread;
};

}  // namespace pellora
