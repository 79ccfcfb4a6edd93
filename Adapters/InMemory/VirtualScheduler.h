// Time that moves only when a test moves it. Calls fall due in the order of their times, and of their making at
// equal times; what a call schedules may fall due in the same advance.
#pragma once

#include <map>
#include <utility>

#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

class VirtualScheduler : public Scheduler {
 public:
  explicit VirtualScheduler(Instant start) : _now(start) {}

  Instant now() const override { return _now + _error; }
  std::unique_ptr<ScheduledCall> after(Nanoseconds delay, std::function<void()> call) override;
  std::unique_ptr<ScheduledCall> every(Nanoseconds interval, std::function<void()> call) override;
  Task<void> yield() override { co_return; }
  Task<void> inBackground(std::function<void()> work) override {
    work();
    co_return;
  }

  void advance(Nanoseconds duration);

  // Lets the wall clock go wrong by so much; what is scheduled does not notice.
  void setClockError(Nanoseconds error) { _error = error; }

  // Scheduled calls that are still waiting.
  std::size_t waiting() const { return _calls->size(); }

 private:
  struct Call {
    std::function<void()> function;
    Nanoseconds interval{0};  // zero: once
  };
  using Key = std::pair<Instant, std::uint64_t>;
  using Calls = std::map<Key, Call>;
  class Handle;

  std::unique_ptr<ScheduledCall> add(Nanoseconds delay, Call call);

  Instant _now;
  Nanoseconds _error{0};
  std::uint64_t _next = 0;
  std::shared_ptr<Calls> _calls = std::make_shared<Calls>();
};

}  // namespace pellora
