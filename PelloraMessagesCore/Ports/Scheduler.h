// Time as the platform gives it: the current instant, delayed calls and repeated calls on the main thread, and work
// off it. A timer that is destroyed never fires again. Two adapters: the event loop's timers, and virtual time for
// tests.
#pragma once

#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Task.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// A scheduled call; destroying it cancels the call.
class ScheduledCall {
 public:
  virtual ~ScheduledCall() = default;
};

class Scheduler {
 public:
  virtual ~Scheduler() = default;

  // The wall clock, UTC.
  virtual Instant now() const = 0;

  // Calls once after `delay`, measured on a clock that wall-clock changes do not move.
  virtual std::unique_ptr<ScheduledCall> after(Nanoseconds delay, std::function<void()> call) = 0;

  // Calls every `interval`, first after one interval.
  virtual std::unique_ptr<ScheduledCall> every(Nanoseconds interval, std::function<void()> call) = 0;

  // Lets the event loop handle what is waiting, then resumes.
  virtual Task<void> yield() = 0;

  // Does `work` while the event loop keeps running, on another thread where the platform has one, then resumes on the
  // main thread. What `work` throws is thrown again there. One piece of work is done at a time, in the order asked for.
  virtual Task<void> inBackground(std::function<void()> work) = 0;
};

}  // namespace pellora
