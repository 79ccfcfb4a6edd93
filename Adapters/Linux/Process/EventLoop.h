// The event loop of the main thread: calls posted to it by other threads, work done off it, and time told by it. Tested
// by Tests/Adapters/SchedulerTests.cpp.
#pragma once

#include <QSocketNotifier>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

// How another thread reaches the main thread: it posts calls, and the event loop makes them in their order. The other
// thread touches nothing of Qt: calls go through a locked list and an event descriptor. Calls not made yet when the
// mailbox is destroyed are dropped. Created and destroyed on the main thread, where a QCoreApplication must exist.
class MainThreadMailbox {
 public:
  // Throws std::bad_alloc when the process can have no more descriptors.
  MainThreadMailbox();
  ~MainThreadMailbox();
  MainThreadMailbox(const MainThreadMailbox&) = delete;
  MainThreadMailbox& operator=(const MainThreadMailbox&) = delete;

  // Any thread. The call may destroy the mailbox.
  void post(std::function<void()> call);

 private:
  void deliver();

  int _descriptor;
  std::unique_ptr<QSocketNotifier> _notifier;
  std::mutex _mutex;  // guards what follows
  std::vector<std::function<void()>> _posted;
};

// One thread for work that would hold up the event loop, one piece after the other, in the order given. It is started
// by the first piece, sleeps between pieces without waking up and ends with its owner, after the piece in hand; pieces
// not begun by then are dropped. The main thread hears of finished pieces through a mailbox. Main thread only, and a
// QCoreApplication must exist.
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

// Time from the system's clocks, calls from the event loop of the main thread. Repeated calls may drift by a
// fraction so that the system can bundle wake-ups; delayed calls are exact. Work in the background has a thread.
class EventLoopScheduler : public Scheduler {
 public:
  Instant now() const override;
  std::unique_ptr<ScheduledCall> after(Nanoseconds delay, std::function<void()> call) override;
  std::unique_ptr<ScheduledCall> every(Nanoseconds interval, std::function<void()> call) override;
  Task<void> yield() override;
  Task<void> inBackground(std::function<void()> work) override;

  // Ends the work in the background: what waits for it never resumes. False when `patience` was not enough.
  bool finish(std::chrono::milliseconds patience) { return _thread.finish(patience); }

 private:
  BackgroundThread _thread;
};

}  // namespace pellora
