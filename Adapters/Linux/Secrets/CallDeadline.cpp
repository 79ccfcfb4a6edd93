#include "Adapters/Linux/Secrets/CallDeadline.h"

#include <algorithm>

namespace pellora {

CallDeadline::CallDeadline(std::chrono::milliseconds patience) : _end(std::chrono::steady_clock::now() + patience) {
  _guard = std::thread([this] {
    std::unique_lock lock(_mutex);
    if (!_wake.wait_until(lock, _end, [this] { return _finished; })) g_cancellable_cancel(_cancellable);
  });
}

CallDeadline::~CallDeadline() {
  {
    const std::lock_guard lock(_mutex);
    _finished = true;
  }
  _wake.notify_one();
  _guard.join();
  g_object_unref(_cancellable);
}

int CallDeadline::remainingMilliseconds() const {
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(_end - std::chrono::steady_clock::now());
  return static_cast<int>(std::max<std::int64_t>(rest.count(), 1));
}

}  // namespace pellora
