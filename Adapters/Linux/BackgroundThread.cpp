#include "Adapters/Linux/BackgroundThread.h"

#include <system_error>
#include <utility>

namespace pellora {

BackgroundThread::~BackgroundThread() {
  finish(std::chrono::milliseconds(0));
  if (_thread.joinable()) _thread.join();
}

void BackgroundThread::run(std::function<void()> work) {
  std::unique_lock lock(_mutex);
  if (_isEnding) return;
  try {
    if (!_thread.joinable()) _thread = std::thread(&BackgroundThread::loop, this);
  } catch (const std::system_error&) {
    // No more threads for this user: then it holds up the event loop.
    lock.unlock();
    work();
    return;
  }
  _waiting.push_back(std::move(work));
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
    const std::function<void()> work = std::move(_waiting.front());
    _waiting.pop_front();
    _isBusy = true;
    lock.unlock();
    work();
    lock.lock();
    _isBusy = false;
    _changed.notify_all();
  }
}

}  // namespace pellora
