// Keeping text out of swap, seen in what the kernel counts as locked. In processes of their own, whose limits may be
// changed.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Adapters/Linux/Process/ResidentMemory.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Sanitizers.h"

namespace pellora {
namespace {

constexpr long kEnough = 4096;  // kB

// In kB, by the name that the kernel gives it.
long ownStatus(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == name + ":") return status >> word ? std::stol(word) : -1;
  return -1;
}

long limit(rlim_t kilobytes) {
  rlimit given{};
  getrlimit(RLIMIT_MEMLOCK, &given);
  given.rlim_cur = std::min<rlim_t>(given.rlim_max, kilobytes * 1024);
  setrlimit(RLIMIT_MEMLOCK, &given);
  return static_cast<long>(given.rlim_cur / 1024);
}

std::vector<std::string> texts(int count) {
  return std::vector<std::string>(static_cast<std::size_t>(count), std::string(1000, 'x'));
}

TEST(ResidentMemory, TextOfEveryThreadIsLockedUntilItIsReleased) {
  if (support::kUnderSanitizers) GTEST_SKIP() << "nothing can be locked under the sanitizers";
  const std::string report = support::reportOfProcess([] {
    if (limit(kEnough) < kEnough) return std::string("skipped");
    std::vector<std::string> here = texts(200);
    std::vector<std::string> there;
    std::thread([&] { there = texts(200); }).join();
    ResidentMemory::keepFromSwap();
    const long locked = ownStatus("VmLck");
    ResidentMemory::release();
    const std::string kept = here.front() == there.back() ? "whole, " : "damaged, ";
    return kept + (locked >= 400 ? "locked, " : "not locked, ") + std::to_string(ownStatus("VmLck"));
  });
  if (report == "skipped") GTEST_SKIP() << "too little memory may be locked here";
  EXPECT_EQ(report, "whole, locked, 0");
}

TEST(ResidentMemory, SomeOfTheLimitIsLeftForKeys) {
  if (support::kUnderSanitizers) GTEST_SKIP() << "nothing can be locked under the sanitizers";
  const std::string report = support::reportOfProcess([] {
    const long most = limit(kEnough);
    if (most < kEnough) return std::string("skipped");
    const std::vector<std::string> much = texts(20'000);
    ResidentMemory::keepFromSwap();
    ResidentMemory::keepFromSwap();
    const long locked = ownStatus("VmLck");
    return locked > most / 2 && locked <= most - 256 ? "" : std::to_string(locked);
  });
  if (report == "skipped") GTEST_SKIP() << "too little memory may be locked here";
  EXPECT_EQ(report, "");
}

TEST(ResidentMemory, WithoutTheRightNothingIsLockedAndAllGoesOn) {
  EXPECT_EQ(support::reportOfProcess([] {
              limit(0);
              const std::vector<std::string> some = texts(200);
              ResidentMemory::keepFromSwap();
              const long locked = ownStatus("VmLck");
              ResidentMemory::release();
              return std::to_string(locked);
            }),
            "0");
}

}  // namespace
}  // namespace pellora
