#include "Adapters/Linux/Process/EventLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QCoroTimer>
#include <QTimer>
#include <coroutine>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "Adapters/Linux/Process/ResidentMemory.h"

namespace pellora {

MainThreadMailbox::MainThreadMailbox() : _descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (_descriptor < 0) throw std::bad_alloc();
  _notifier = std::make_unique<QSocketNotifier>(_descriptor, QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] { deliver(); });
}

MainThreadMailbox::~MainThreadMailbox() {
  _notifier.reset();
  close(_descriptor);
}

void MainThreadMailbox::post(std::function<void()> call) {
  const std::lock_guard lock(_mutex);
  _posted.push_back(std::move(call));
  eventfd_write(_descriptor, 1);
}

// The function called may destroy this object, so nothing of it is touched afterwards.
void MainThreadMailbox::deliver() {
  eventfd_t count = 0;
  eventfd_read(_descriptor, &count);
  std::vector<std::function<void()>> posted;
  {
    const std::lock_guard lock(_mutex);
    posted.swap(_posted);
  }
  for (const auto& call : posted) call();
}

BackgroundThread::~BackgroundThread() {
  finish(std::chrono::milliseconds(0));
  if (_thread.joinable()) _thread.join();
}

void BackgroundThread::run(std::function<void()> work, std::function<void()> done) {
  if (!_mailbox) _mailbox = std::make_unique<MainThreadMailbox>();
  try {
    if (!_thread.joinable()) _thread = std::thread(&BackgroundThread::loop, this);
  } catch (const std::system_error&) {
    work();
    _mailbox->post(std::move(done));
    return;
  }
  const std::lock_guard lock(_mutex);
  if (_isEnding) return;
  _waiting.push_back({std::move(work), std::move(done)});
  _changed.notify_all();
}

bool BackgroundThread::finish(std::chrono::milliseconds patience) {
  std::unique_lock lock(_mutex);
  _isEnding = true;
  _waiting.clear();
  _changed.notify_all();
  return _changed.wait_for(lock, patience, [this] { return !_isBusy; });
}

void BackgroundThread::loop() {
  std::unique_lock lock(_mutex);
  while (true) {
    _changed.wait(lock, [this] { return _isEnding || !_waiting.empty(); });
    if (_isEnding) return;
    Piece piece = std::move(_waiting.front());
    _waiting.pop_front();
    _isBusy = true;
    lock.unlock();
    piece.work();
    // What it has brought stays in memory for a while.
    ResidentMemory::keepFromSwap();
    piece.work = nullptr;
    ResidentMemory::clearUnusedStack();
    _mailbox->post(std::move(piece.done));
    lock.lock();
    _isBusy = false;
    _changed.notify_all();
  }
}

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
