// One thread that does what would hold up the event loop, one piece after the other, in the order given. It is
// started by the first piece, sleeps between pieces without waking up and ends with its owner, after the piece that it
// is at; pieces that were not begun by then are dropped. The main thread hears of finished pieces through a mailbox.
// Main thread only, and a QCoreApplication must exist. Tested by Tests/Adapters/SchedulerTests.cpp.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Adapters/Linux/Process/MainThreadMailbox.h"

namespace pellora {

class BackgroundThread {
 public:
  BackgroundThread() = default;
  ~BackgroundThread();
  BackgroundThread(const BackgroundThread&) = delete;
  BackgroundThread& operator=(const BackgroundThread&) = delete;

  // Does `work`, which must not throw, on the thread, then calls `done` from the event loop. When no thread can be had
  // `work` is done at once. Throws std::bad_alloc when there is no way to hear of the end; then nothing is called.
  void run(std::function<void()> work, std::function<void()> done);
  // Takes no more work, drops what waits and gives what is being done so long to end; false when it has not.
  bool finish(std::chrono::milliseconds patience);

 private:
  struct Piece {
    std::function<void()> work;
    std::function<void()> done;
  };

  void loop();

  std::unique_ptr<MainThreadMailbox> _mailbox;
  std::thread _thread;

  std::mutex _mutex;  // guards what follows
  std::condition_variable _changed;
  std::deque<Piece> _waiting;
  bool _isBusy = false;
  bool _isEnding = false;
};

}  // namespace pellora
