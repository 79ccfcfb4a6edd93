#include "Adapters/InMemory/VirtualScheduler.h"

#include <algorithm>

namespace pellora {

// Cancels by number: a repeated call keeps its number while its time moves on.
class VirtualScheduler::Handle : public ScheduledCall {
 public:
  Handle(std::weak_ptr<Calls> calls, std::uint64_t number) : _calls(std::move(calls)), _number(number) {}

  ~Handle() override {
    const std::shared_ptr<Calls> calls = _calls.lock();
    if (!calls) return;
    const auto own =
        std::find_if(calls->begin(), calls->end(), [this](const auto& entry) { return entry.first.second == _number; });
    if (own != calls->end()) calls->erase(own);
  }

 private:
  std::weak_ptr<Calls> _calls;
  std::uint64_t _number;
};

std::unique_ptr<ScheduledCall> VirtualScheduler::add(Nanoseconds delay, Call call) {
  const std::uint64_t number = _next++;
  _calls->emplace(Key(_now + delay, number), std::move(call));
  return std::make_unique<Handle>(_calls, number);
}

std::unique_ptr<ScheduledCall> VirtualScheduler::after(Nanoseconds delay, std::function<void()> call) {
  return add(delay, Call{std::move(call), Nanoseconds(0)});
}

std::unique_ptr<ScheduledCall> VirtualScheduler::every(Nanoseconds interval, std::function<void()> call) {
  return add(interval, Call{std::move(call), interval});
}

void VirtualScheduler::advance(Nanoseconds duration) {
  const Instant end = _now + duration;
  while (!_calls->empty() && _calls->begin()->first.first <= end) {
    const Key key = _calls->begin()->first;
    Call call = std::move(_calls->begin()->second);
    _calls->erase(_calls->begin());
    _now = key.first;
    const std::function<void()> function = call.function;
    if (call.interval > Nanoseconds(0)) _calls->emplace(Key(_now + call.interval, key.second), std::move(call));
    function();
  }
  _now = end;
}

}  // namespace pellora
