#include "Adapters/Linux/EventLoopScheduler.h"

#include <QCoroTimer>
#include <QTimer>

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

}  // namespace pellora
