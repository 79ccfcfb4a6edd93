// Time from the system's clocks, calls from the event loop of the main thread. Repeated calls may drift by a
// fraction so that the system can bundle wake-ups; delayed calls are exact. Work in the background has a thread.
#pragma once

#include "Adapters/Linux/Process/BackgroundThread.h"
#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

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
