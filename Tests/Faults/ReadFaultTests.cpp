// The real helper, confined as shipped, disturbed at every call by which a read opens, reads or changes files;
// and killed at any moment. No read hangs, crashes or claims success without it, what earlier reads left stays whole,
// and the next read completes and ends as an undisturbed one does.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <thread>

#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Faults/ForkServer.h"
#include "Tests/Support/ScratchHome.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::DisturbedRun;

const std::vector<std::string> kReadOnce = {"--read-once"};
constexpr long kCallsOfARead = 2000;

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

  // `prepare` puts files and store as they are before the read.
  template <class Prepare, class Check>
  void disturbEachCall(const std::string& kind, Prepare prepare, Check check) {
    long at = 1;
    for (; at < kCallsOfARead; ++at) {
      prepare();
      const DisturbedRun run =
          DisturbedRun::of(PELLORA_HELPER, kReadOnce, {kind, at}, _home.path(), _home.environment());
      const std::string what = kind + " at " + run.call + " (" + std::to_string(at) + ")";
      if (!run.wasDisturbed()) break;
      EXPECT_EQ(run.exitCode == DisturbedRun::kKilled, kind == "kill") << what << ": it crashed or hung";
      if (run.exitCode == 0) EXPECT_TRUE(_home.records() == _expected) << what << ": it claims success";
      if (kind == "interrupted") EXPECT_EQ(run.exitCode, 0) << what;
      check(what);
      checkNextRead(what);
      if (HasFailure()) FAIL() << kind;
    }
    EXPECT_LT(at, kCallsOfARead);
    EXPECT_GT(at, 1) << kind;
    RecordProperty(kind, static_cast<int>(at - 1));
    std::cout << "  " << kind << " at each of " << at - 1 << " calls\n";
  }

  void disturbFirstReads(const std::string& kind) {
    disturbEachCall(kind, [this] { _home.forgetReads(); }, [](const std::string&) {});
  }

  // Reads of one new message over what earlier reads found, the model's sentence about a day among it.
  void disturbLaterReads(const std::string& kind) {
    const support::TemporaryFolder kept;
    HelperDayNotes notes = HelperDayNotes::load(_home.key(), _home.shared());
    notes.days[0].summary = "You and Anna talked about the harbour.";
    notes.days[0].meetups.emplace();
    notes.save(_home.key(), _home.shared());
    ASSERT_EQ(readUndisturbed(), 0);
    const support::ScratchHome::Records before = _home.records();
    ASSERT_TRUE(before.days[0].summary);
    const auto copyAll = [&](const std::filesystem::path& from, const std::filesystem::path& to) {
      for (const char* name : {"data/app.pellora.messages", "config"}) {
        std::filesystem::remove_all(to / name);
        std::filesystem::create_directories((to / name).parent_path());
        std::filesystem::copy(from / name, to / name, std::filesystem::copy_options::recursive);
      }
    };
    copyAll(_home.path(), kept.path());
    _home.store().addMessage(_home.annaChat(), std::chrono::system_clock::now() - std::chrono::minutes(1), false,
                             "one more");
    ASSERT_EQ(readUndisturbed(), 0);
    _expected = _home.records();
    ASSERT_FALSE(_expected == before);
    disturbEachCall(
        kind, [&] { copyAll(kept.path(), _home.path()); },
        [&](const std::string& what) {
          const support::ScratchHome::Records left = _home.records();
          EXPECT_TRUE(left.days == before.days || left.days == _expected.days) << what;
          ASSERT_EQ(left.lately.size(), 2u) << what;
          for (std::size_t each = 0; each < 2; ++each)
            EXPECT_TRUE(left.lately[each] == before.lately[each] || left.lately[each] == _expected.lately[each])
                << what;
        });
  }

  support::ScratchHome _home;
  support::ScratchHome::Records _expected;
};

TEST_F(ReadFaultTest, KillAtAnyCallIsMadeUpForByTheNextRead) {
  disturbFirstReads("kill");
}

TEST_F(ReadFaultTest, ErrorAtAnyCallIsMadeUpForByTheNextRead) {
  disturbFirstReads("5");
}

TEST_F(ReadFaultTest, DiskThatFillsUpIsMadeUpForByTheNextRead) {
  disturbFirstReads("from-28");
}

TEST_F(ReadFaultTest, AnErrorLosesNothingOfEarlierReads) {
  disturbLaterReads("24");
}

// EIO, ENOSPC, EACCES, EMFILE, ENOMEM, EINTR, a full and a read-only disk, and the end.
class EveryFault : public ReadFaultTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    if (!isLongForm()) GTEST_SKIP() << "part of the long form";
    ReadFaultTest::SetUp();
  }
};

TEST_P(EveryFault, OfAFirstReadIsMadeUpForByTheNext) {
  disturbFirstReads(GetParam());
}

TEST_P(EveryFault, OfALaterReadLosesNothingOfEarlierOnes) {
  disturbLaterReads(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, EveryFault,
                         testing::Values("kill", "5", "28", "13", "24", "12", "interrupted", "from-28", "from-30"),
                         [](const auto& info) {
                           std::string name = info.param;
                           std::erase(name, '-');
                           return name;
                         });

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
  using std::chrono::steady_clock;
  support::ForkServer& server = support::ForkServer::of(PELLORA_HELPER, kReadOnce);
  _home.forgetReads();
  const auto begin = steady_clock::now();
  ASSERT_EQ(readUndisturbed(), 0);
  const std::chrono::microseconds whole = std::chrono::ceil<std::chrono::microseconds>(steady_clock::now() - begin);
  std::minstd_rand random(17);
  std::uniform_int_distribution<std::chrono::microseconds::rep> moments(0, whole.count());
  const int rounds = isLongForm() ? 2000 : 500;
  const auto budget = steady_clock::now() + std::chrono::seconds(isLongForm() ? 3000 : 60);
  int round = 0;
  for (; round < rounds && steady_clock::now() < budget; ++round) {
    if (round % 2 == 0) _home.forgetReads();
    const pid_t helper = server.start(_home.environment());
    std::this_thread::sleep_for(std::chrono::microseconds(moments(random)));
    kill(helper, SIGKILL);
    server.wait();
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
