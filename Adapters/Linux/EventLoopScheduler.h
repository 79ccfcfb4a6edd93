// Time from the system's clocks, calls from the event loop of the main thread. Repeated calls may drift by a
// fraction so that the system can bundle wake-ups; delayed calls are exact.
#pragma once

#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

class EventLoopScheduler : public Scheduler {
 public:
  Instant now() const override;
  std::unique_ptr<ScheduledCall> after(Nanoseconds delay, std::function<void()> call) override;
  std::unique_ptr<ScheduledCall> every(Nanoseconds interval, std::function<void()> call) override;
  Task<void> yield() override;
};

}  // namespace pellora
