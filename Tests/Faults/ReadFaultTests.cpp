// The real helper, confined as it is shipped, disturbed at every call by which a read changes files; and killed at
// any moment. Whatever happened, the next read completes and ends as an undisturbed one does.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {
namespace {

using support::DisturbedRun;

const std::vector<std::string> kReadOnce = {"--read-once"};
constexpr long kTooMany = 2000;

bool isLongForm() {
  const char* value = std::getenv("PELLORA_LONG_TESTS");
  return value != nullptr && *value != '\0';
}

class ReadFaultTest : public testing::Test {
 protected:
  void SetUp() override {
    _home.addSomeDays();
    ASSERT_EQ(readUndisturbed(), 0);
    _expected = _home.records();
    ASSERT_EQ(_expected.lately.size(), 2u);
    ASSERT_TRUE(_home.temporaryFiles().empty());
  }

  int readUndisturbed() { return DisturbedRun::undisturbed(PELLORA_HELPER, kReadOnce, _home.environment()).exitCode; }

  void checkNextRead(const std::string& what) {
    EXPECT_EQ(readUndisturbed(), 0) << what;
    EXPECT_TRUE(_home.records() == _expected) << what;
    EXPECT_EQ(_home.temporaryFiles(), std::vector<std::string>()) << what;
  }

  void disturbEachCall(const std::string& kind) {
    long at = 1;
    for (; at < kTooMany; ++at) {
      _home.forgetReads();
      const DisturbedRun run =
          DisturbedRun::of(PELLORA_HELPER, kReadOnce, {kind, at}, _home.path(), _home.environment());
      const std::string what = kind + " at " + run.call + " (" + std::to_string(at) + ")";
      if (!run.wasDisturbed()) break;
      if (run.exitCode == 0) EXPECT_TRUE(_home.records() == _expected) << what;
      checkNextRead(what);
      if (HasFailure()) FAIL() << kind;
    }
    EXPECT_LT(at, kTooMany);
    EXPECT_GT(at, 1) << kind;
  }

  support::ScratchHome _home;
  support::ScratchHome::Records _expected;
};

TEST_F(ReadFaultTest, KillAtAnyCallIsMadeUpForByTheNextRead) {
  disturbEachCall("kill");
}

TEST_F(ReadFaultTest, ErrorAtAnyCallIsMadeUpForByTheNextRead) {
  disturbEachCall("5");
}

TEST_F(ReadFaultTest, DiskThatFillsUpIsMadeUpForByTheNextRead) {
  disturbEachCall("from-28");
}

TEST_F(ReadFaultTest, InterruptionsAndShortWritesDoNotFailARead) {
  for (const char* kind : {"interrupted", "short"}) {
    _home.forgetReads();
    for (const long at : {1L, 2L, 5L, 9L, 14L}) {
      const DisturbedRun run =
          DisturbedRun::of(PELLORA_HELPER, kReadOnce, {kind, at}, _home.shared(), _home.environment());
      EXPECT_EQ(run.exitCode, 0) << kind << " at " << run.call;
      EXPECT_TRUE(_home.records() == _expected) << kind << " at " << run.call;
    }
  }
}

TEST_F(ReadFaultTest, HelperKilledAtAnyMomentLosesNothing) {
  std::minstd_rand random(17);
  const int rounds = isLongForm() ? 2000 : 500;
  const auto budget = std::chrono::steady_clock::now() + std::chrono::seconds(isLongForm() ? 3000 : 60);
  int round = 0;
  for (; round < rounds && std::chrono::steady_clock::now() < budget; ++round) {
    if (round % 2 == 0) _home.forgetReads();
    support::ForkedProcess helper([this] {
      for (const auto& [name, value] : _home.environment()) setenv(name.c_str(), value.c_str(), 1);
      close(STDOUT_FILENO);
      execl(PELLORA_HELPER, PELLORA_HELPER, "--read-once", nullptr);
      return 127;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 120'000));
    helper.kill();
    helper.wait();
    for (const MessagesLatelyRecord& each : _home.records().lately)
      EXPECT_TRUE(each == _expected.lately[0] || each == _expected.lately[1]) << round;
    if (round % 5 == 4) checkNextRead("round " + std::to_string(round));
    if (HasFailure()) return;
  }
  checkNextRead("at the end");
  RecordProperty("rounds", round);
}

}  // namespace
}  // namespace pellora
