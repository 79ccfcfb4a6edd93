#include "Adapters/Linux/Process/EventLoopScheduler.h"

#include <QCoroTimer>
#include <QTimer>
#include <coroutine>
#include <exception>
#include <utility>

namespace pellora {

namespace {

class TimerCall : public ScheduledCall {
 public:
  TimerCall(Nanoseconds delay, Qt::TimerType type, bool once, std::function<void()> call) {
    _timer.setTimerType(type);
    _timer.setSingleShot(once);
    QObject::connect(&_timer, &QTimer::timeout, std::move(call));
    _timer.start(std::chrono::ceil<std::chrono::milliseconds>(delay));
  }

 private:
  QTimer _timer;
};

// Waits for a piece of work on the thread. Lives in the frame of the coroutine that waits.
class BackgroundWork {
 public:
  BackgroundWork(BackgroundThread& thread, std::function<void()> work) : _thread(thread), _work(std::move(work)) {}

  bool await_ready() const { return false; }

  void await_suspend(std::coroutine_handle<> waiting) {
    _thread.run(
        [this] {
          try {
            _work();
          } catch (...) {
            _error = std::current_exception();
          }
        },
        [waiting] { waiting.resume(); });
  }

  void await_resume() const {
    if (_error) std::rethrow_exception(_error);
  }

 private:
  BackgroundThread& _thread;
  std::function<void()> _work;
  std::exception_ptr _error;
};

}  // namespace

Instant EventLoopScheduler::now() const {
  return std::chrono::time_point_cast<Nanoseconds>(std::chrono::system_clock::now());
}

std::unique_ptr<ScheduledCall> EventLoopScheduler::after(Nanoseconds delay, std::function<void()> call) {
  return std::make_unique<TimerCall>(delay, Qt::PreciseTimer, true, std::move(call));
}

std::unique_ptr<ScheduledCall> EventLoopScheduler::every(Nanoseconds interval, std::function<void()> call) {
  return std::make_unique<TimerCall>(interval, Qt::CoarseTimer, false, std::move(call));
}

Task<void> EventLoopScheduler::yield() {
  QTimer timer;
  timer.setSingleShot(true);
  timer.start(0);
  co_await timer;
}

Task<void> EventLoopScheduler::inBackground(std::function<void()> work) {
  BackgroundWork piece(_thread, std::move(work));
  co_await piece;
}

}  // namespace pellora
