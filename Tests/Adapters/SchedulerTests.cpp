// The contract of schedulers, for virtual time and the event loop's timers.
#include <gtest/gtest.h>

#include <QCoroTask>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "Adapters/InMemory/VirtualScheduler.h"
#include "Adapters/Linux/Process/EventLoop.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/EventLoopWait.h"

namespace pellora {

namespace {

using std::chrono::milliseconds;

class SchedulerWorld {
 public:
  virtual ~SchedulerWorld() = default;
  virtual Scheduler& scheduler() = 0;
  // Lets time pass until the condition holds; true when it came to hold within a long time.
  virtual bool passUntil(const std::function<bool()>& condition) = 0;
  // Lets this much time pass.
  virtual void pass(milliseconds duration) = 0;
};

class VirtualWorld : public SchedulerWorld {
 public:
  Scheduler& scheduler() override { return _scheduler; }
  bool passUntil(const std::function<bool()>& condition) override {
    for (int step = 0; step < 10'000 && !condition(); ++step) _scheduler.advance(milliseconds(1));
    return condition();
  }
  void pass(milliseconds duration) override { _scheduler.advance(duration); }

 private:
  VirtualScheduler _scheduler{instantAtSeconds(1'795'235'340)};
};

class LoopWorld : public SchedulerWorld {
 public:
  Scheduler& scheduler() override { return _scheduler; }
  bool passUntil(const std::function<bool()>& condition) override { return support::waitUntil(condition); }
  void pass(milliseconds duration) override {
    support::waitUntil([] { return false; }, duration);
  }

 private:
  EventLoopScheduler _scheduler;
};

class SchedulerContract : public support::Contract<SchedulerWorld> {
 protected:
  Scheduler& scheduler() { return world->scheduler(); }

  int calls = 0;
};

}  // namespace

TEST_P(SchedulerContract, ADelayedCallComesOnceAndNotEarly) {
  const Instant start = scheduler().now();
  const auto call = scheduler().after(milliseconds(20), [this] { ++calls; });
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(world->passUntil([this] { return calls > 0; }));
  EXPECT_TRUE(scheduler().now() - start >= milliseconds(19));  // clocks may differ by their grain
  world->pass(milliseconds(50));
  EXPECT_EQ(calls, 1);
}

TEST_P(SchedulerContract, ARepeatedCallComesAgainAndAgain) {
  const auto call = scheduler().every(milliseconds(5), [this] { ++calls; });
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(world->passUntil([this] { return calls >= 4; }));
}

TEST_P(SchedulerContract, CallsFallDueInTheOrderOfTheirTimes) {
  std::string order;
  const auto late = scheduler().after(milliseconds(60), [&] { order += "c"; });
  const auto soon = scheduler().after(milliseconds(1), [&] { order += "a"; });
  const auto middle = scheduler().after(milliseconds(30), [&] { order += "b"; });
  EXPECT_TRUE(world->passUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "abc");
}

TEST_P(SchedulerContract, ADestroyedCallNeverComes) {
  auto once = scheduler().after(milliseconds(5), [this] { ++calls; });
  auto repeated = scheduler().every(milliseconds(5), [this] { ++calls; });
  once.reset();
  repeated.reset();
  world->pass(milliseconds(40));
  EXPECT_EQ(calls, 0);
}

TEST_P(SchedulerContract, ACallMayReplaceItself) {
  std::unique_ptr<ScheduledCall> call;
  const std::function<void()> again = [&] {
    if (++calls < 3) call = scheduler().after(milliseconds(1), again);
  };
  call = scheduler().after(milliseconds(1), again);
  EXPECT_TRUE(world->passUntil([this] { return calls == 3; }));
}

TEST_P(SchedulerContract, TimeNeverStandsStillForCallsWithoutDelay) {
  const auto call = scheduler().after(milliseconds(0), [this] { ++calls; });
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(world->passUntil([this] { return calls == 1; }));
}

TEST_P(SchedulerContract, YieldingResumes) {
  QCoro::waitFor(scheduler().yield());
}

TEST_P(SchedulerContract, WorkInTheBackgroundIsDoneBeforeTheWaitEnds) {
  std::string order;
  const auto both = [](Scheduler& scheduler, std::string& order) -> Task<void> {
    co_await scheduler.inBackground([&order] { order += "a"; });
    order += "b";
    co_await scheduler.inBackground([&order] { order += "c"; });
    order += "d";
  };
  QCoro::waitFor(both(scheduler(), order));
  EXPECT_EQ(order, "abcd");
}

TEST_P(SchedulerContract, PiecesOfWorkAreDoneInTheirOrder) {
  std::string order;
  const auto first = scheduler().inBackground([&order] { order += "1"; });
  const auto second = scheduler().inBackground([&order] { order += "2"; });
  EXPECT_TRUE(world->passUntil([&] { return first.isReady() && second.isReady(); }));
  EXPECT_EQ(order, "12");
}

TEST_P(SchedulerContract, WhatWorkInTheBackgroundThrowsIsThrownToWhoWaits) {
  const auto work = [] { throw std::runtime_error("no luck"); };
  const auto catching = [](Scheduler& scheduler, std::function<void()> work) -> Task<std::string> {
    std::string text;
    try {
      co_await scheduler.inBackground(std::move(work));
    } catch (const std::runtime_error& error) {
      text = error.what();
    }
    co_return text;
  };
  EXPECT_EQ(QCoro::waitFor(catching(scheduler(), work)), "no luck");
}

TEST(EventLoopScheduler, TheEventLoopGoesOnWhileThereIsWorkInTheBackground) {
  EventLoopScheduler scheduler;
  std::atomic<bool> mayEnd = false;
  const auto call = scheduler.after(milliseconds(1), [&mayEnd] { mayEnd = true; });
  QCoro::waitFor(scheduler.inBackground([&mayEnd] {
    while (!mayEnd) std::this_thread::yield();
  }));
  EXPECT_TRUE(mayEnd);
}

TEST(EventLoopScheduler, AnEndedSchedulerSaysWhetherTheWorkEndedToo) {
  EventLoopScheduler scheduler;
  std::atomic<bool> mayEnd = false;
  std::atomic<bool> began = false;
  const auto waiting = scheduler.inBackground([&] {
    began = true;
    while (!mayEnd) std::this_thread::yield();
  });
  while (!began) std::this_thread::yield();
  EXPECT_FALSE(scheduler.finish(milliseconds(5)));
  mayEnd = true;
  EXPECT_TRUE(scheduler.finish(std::chrono::seconds(10)));
  support::waitUntil([&] { return waiting.isReady(); });  // the frame resumes and frees itself
}

INSTANTIATE_TEST_SUITE_P(Schedulers, SchedulerContract,
                         testing::Values(support::party<SchedulerWorld, VirtualWorld>("Virtual"),
                                         support::party<SchedulerWorld, LoopWorld>("EventLoop")),
                         support::kPartyName);

}  // namespace pellora
