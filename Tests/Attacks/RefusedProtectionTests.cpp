// A kernel, or a starting program, that has a protection and does not give it: the helper says so and reads
// nothing.
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>

#include "Adapters/Linux/Process/Landlock.h"
#include "Tests/Attacks/AttackTest.h"
#include "Tests/Support/ChildProcess.h"

namespace pellora {
namespace {

using testing::HasSubstr;

// For this process and those that it starts, for good.
bool refuseCall(unsigned number, int error) {
  sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                         BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
                         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
                         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog filter{std::size(rules), rules};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

class RefusedProtection : public AttackTest {
 protected:
  void SetUp() override {
#ifdef PELLORA_UNCONFINED
    GTEST_SKIP() << "Built with a sanitizer, the programs are not confined.";
#endif
  }

  // What the helper and then `status` say and end with when this call gives this error.
  std::string said(unsigned call, int error) {
    return support::reportOfProcess([&]() -> std::string {
      if (!refuseCall(call, error)) return "no filter";
      std::string all = std::to_string(helper({"--read-once"})) + "\n" + output + errors;
      companion({"status"});
      return all + output + errors;
    });
  }
};

TEST_F(RefusedProtection, TheHelperReadsNothingAndStatusSaysWhy) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  _home.addSomeDays();
  const std::string all = said(SYS_landlock_create_ruleset, EPERM);
  EXPECT_THAT(all, HasSubstr("5\nThe helper could not protect itself (writing: the kernel refused: Operation not "
                             "permitted), so it reads nothing.\n"));
  EXPECT_THAT(all, testing::ContainsRegex("Protections +The helper could not protect itself \\(writing"));
  EXPECT_TRUE(_home.records().lately.empty());
}

TEST_F(RefusedProtection, WhatTheKernelLacksIsNoRefusal) {
  _home.addSomeDays();
  EXPECT_THAT(said(SYS_landlock_create_ruleset, ENOSYS), HasSubstr("0\nConnected"));
  EXPECT_EQ(_home.records().lately.size(), 2U);
}

TEST_F(RefusedProtection, AnotherStartDoesNotHideWhatTheRunningHelperHas) {
  _environment.set("QT_QPA_PLATFORM", "offscreen");
  _home.addSomeDays();
  const support::ProgramRun running({PELLORA_HELPER, {"--background"}, {}});
  const auto protections = [this] {
    companion({"status"});
    return output.find("core dumps, tracing") != std::string::npos;
  };
  for (int attempt = 0; attempt < 100 && !protections(); ++attempt);
  EXPECT_EQ(helper({"--read-once"}), 6) << output << errors;
  EXPECT_TRUE(protections()) << output;
}

}  // namespace
}  // namespace pellora
