#include "Adapters/Linux/Process/BackgroundThread.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <new>
#include <system_error>
#include <utility>

#include "Adapters/Linux/Process/ResidentMemory.h"

namespace pellora {

BackgroundThread::~BackgroundThread() {
  finish(std::chrono::milliseconds(0));
  if (_thread.joinable()) _thread.join();
  _notifier.reset();
  if (_eventDescriptor >= 0) close(_eventDescriptor);
}

void BackgroundThread::run(std::function<void()> work, std::function<void()> done) {
  if (!_notifier) listen();
  try {
    if (!_thread.joinable()) _thread = std::thread(&BackgroundThread::loop, this);
  } catch (const std::system_error&) {
    work();
    finishPiece(std::move(done));
    return;
  }
  const std::lock_guard lock(_mutex);
  if (_isEnding) return;
  _waiting.push_back({std::move(work), std::move(done)});
  _changed.notify_all();
}

void BackgroundThread::listen() {
  _eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (_eventDescriptor < 0) throw std::bad_alloc();
  _notifier = std::make_unique<QSocketNotifier>(_eventDescriptor, QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] { tellFinished(); });
}

// What is called may destroy this object, so nothing of it is touched afterwards.
void BackgroundThread::tellFinished() {
  eventfd_t count = 0;
  eventfd_read(_eventDescriptor, &count);
  std::vector<std::function<void()>> finished;
  {
    const std::lock_guard lock(_mutex);
    finished.swap(_finished);
  }
  for (const auto& done : finished) done();
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
    piece.work = nullptr;
    ResidentMemory::clearUnusedStack();
    finishPiece(std::move(piece.done));
    lock.lock();
    _isBusy = false;
    _changed.notify_all();
  }
}

void BackgroundThread::finishPiece(std::function<void()> done) {
  const std::lock_guard lock(_mutex);
  _finished.push_back(std::move(done));
  eventfd_write(_eventDescriptor, 1);
}

}  // namespace pellora
