// Two processes that write one file in turn, and a reader that never sees anything but a whole version.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Faults/WrittenFile.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::WrittenFile;
using Found = WrittenFile::Found;

std::string duration() {
  const char* value = std::getenv("PELLORA_LONG_TESTS");
  return value != nullptr && *value != '\0' ? "60" : "2";
}

class TwoWritersTest : public testing::TestWithParam<std::string> {};

TEST_P(TwoWritersTest, ReaderSeesWholeVersionsOnly) {
  const support::TemporaryFolder folder;
  const WrittenFile file(GetParam(), folder.path());
  ASSERT_TRUE(file.write(WrittenFile::Version::older));
  const auto write = [&] {
    return support::DisturbedRun::undisturbed(PELLORA_FAULT_WRITER,
                                              {GetParam(), folder.path().string(), "older", duration()}, {})
        .exitCode;
  };
  support::ForkedProcess first(write);
  support::ForkedProcess second(write);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::stoi(duration()));
  int reads = 0;
  for (; std::chrono::steady_clock::now() < end; ++reads) {
    const Found found = file.read();
    ASSERT_TRUE(found == Found::older || found == Found::newer) << static_cast<int>(found);
  }
  EXPECT_EQ(first.wait(), 0);
  EXPECT_EQ(second.wait(), 0);
  file.startAgain();
  EXPECT_EQ(file.leftovers(), std::vector<std::string>());
  EXPECT_GT(reads, 0);
}

INSTANTIATE_TEST_SUITE_P(Files, TwoWritersTest,
                         testing::Values("people", "notes", "state", "lately", "heartbeat", "defaults"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace pellora
