// Every system call of every write is disturbed in turn, until a write gets through without meeting the fault.
#include <gtest/gtest.h>

#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Faults/WrittenFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::DisturbedRun;
using support::WrittenFile;
using Version = WrittenFile::Version;
using Found = WrittenFile::Found;

constexpr long kCallsOfAWrite = 300;  // more than any write makes

enum class Begin { withoutFile, withOlderFile };

class WrittenFileFaultTest : public testing::TestWithParam<std::string> {
 protected:
  // A write of the newer version with this fault at its `at`th call; false when it did not come to that call.
  bool disturb(const std::string& kind, long at, Begin begin) {
    const std::filesystem::path root = _folder / "root";
    std::filesystem::remove_all(root);
    std::filesystem::create_directory(root);
    const WrittenFile file(GetParam(), root);
    if (begin == Begin::withOlderFile && !file.write(Version::older)) ADD_FAILURE() << "not written at all";
    const Found before = file.read();
    const DisturbedRun run =
        DisturbedRun::of(PELLORA_FAULT_WRITER, {GetParam(), root.string(), "newer"}, {kind, at}, root);
    const std::string what = kind + " at " + run.call + " (" + std::to_string(at) + ")";
    checkFile(file, before, run, what);
    if (mustSucceed(kind) || !run.wasDisturbed()) EXPECT_EQ(run.exitCode, 0) << what;
    file.startAgain();
    EXPECT_EQ(file.leftovers(), std::vector<std::string>()) << what;
    EXPECT_TRUE(file.write(Version::newer)) << what;
    EXPECT_EQ(file.read(), Found::newer) << what;
    return run.wasDisturbed();
  }

  static void checkFile(const WrittenFile& file, Found before, const DisturbedRun& run, const std::string& what) {
    const Found after = file.read();
    EXPECT_TRUE(after == Found::newer || after == before) << what << " leaves " << static_cast<int>(after);
    if (run.exitCode == 0) EXPECT_EQ(after, Found::newer) << what << " is reported as success";
  }

  static bool mustSucceed(const std::string& kind) { return kind == "interrupted" || kind == "short"; }

  void disturbEachCall(const std::string& kind, Begin begin) {
    long at = 1;
    while (at < kCallsOfAWrite && disturb(kind, at, begin)) ++at;
    EXPECT_LT(at, kCallsOfAWrite);
    EXPECT_GT(at, 1) << kind << " met no call";
    if (HasFailure()) FAIL() << kind;
  }

  void disturbEachCall(const std::string& kind) {
    if (!WrittenFile(GetParam(), {}).isWrittenOnce()) disturbEachCall(kind, Begin::withOlderFile);
    disturbEachCall(kind, Begin::withoutFile);
  }

  const support::TemporaryFolder _folder;
};

TEST_P(WrittenFileFaultTest, KillAtAnyCallLeavesWholeFile) {
  disturbEachCall("kill");
  disturbEachCall("torn");
}

TEST_P(WrittenFileFaultTest, ErrorAtAnyCallLeavesWholeFileAndIsReported) {
  for (const char* code : {"5", "13", "28"}) disturbEachCall(code);
}

TEST_P(WrittenFileFaultTest, ErrorsThatStayLeaveWholeFileAndAreReported) {
  for (const char* kind : {"from-28", "from-30"}) disturbEachCall(kind);
}

TEST_P(WrittenFileFaultTest, InterruptionsAndShortWritesAreBorne) {
  for (const char* kind : {"interrupted", "short"}) disturbEachCall(kind);
}

INSTANTIATE_TEST_SUITE_P(Files, WrittenFileFaultTest, testing::ValuesIn(WrittenFile::kinds()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace pellora
