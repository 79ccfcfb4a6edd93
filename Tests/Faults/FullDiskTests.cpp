// Real file systems that are full: no blocks, no inodes, remounted read-only. They live in a mount namespace of a
// child process, so they need the right to make one.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

#include "Tests/Faults/WrittenFile.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::WrittenFile;
using Version = WrittenFile::Version;
using Found = WrittenFile::Found;

constexpr char kNotPermitted[] = "not permitted";

void fillBlocks(const fs::path& disk) {
  std::ofstream(disk / "filler") << std::string(8 << 20, 'x');
}

void fillInodes(const fs::path& disk) {
  for (int number = 0; number < 200; ++number) std::ofstream(disk / ("filler" + std::to_string(number)));
}

void remountReadOnly(const fs::path& disk) {
  mount("none", disk.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr);
}

class FullDiskTest : public testing::TestWithParam<std::string> {
 protected:
  // On a disk of its own: writes the older version, fills up, writes the newer one. Empty when all is well.
  std::string tryWriting(void (*fill)(const fs::path&)) {
    return support::reportOfProcess([&]() -> std::string {
      const fs::path disk = _folder.path();
      if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("none", disk.c_str(), "tmpfs", 0, "size=1m,nr_inodes=100") != 0)
        return kNotPermitted;
      const WrittenFile file(GetParam(), disk / "root");
      fs::create_directory(disk / "root");
      if (!file.isWrittenOnce() && !file.write(Version::older)) return "not written at first";
      const Found before = file.read();
      fill(disk);
      if (file.write(Version::newer)) return "the full disk is not reported";
      if (file.read() != before) return "the file has changed";
      return file.leftovers().empty() ? "" : "a temporary file stays";
    });
  }

  support::TemporaryFolder _folder;
};

TEST_P(FullDiskTest, NoBlocksLeaveTheOldFileAndAreReported) {
  const std::string report = tryWriting(fillBlocks);
  if (report == kNotPermitted) GTEST_SKIP() << "no file system may be mounted here";
  EXPECT_EQ(report, "");
}

TEST_P(FullDiskTest, NoInodesLeaveTheOldFileAndAreReported) {
  const std::string report = tryWriting(fillInodes);
  if (report == kNotPermitted) GTEST_SKIP() << "no file system may be mounted here";
  EXPECT_EQ(report, "");
}

TEST_P(FullDiskTest, ReadOnlyRemountLeavesTheOldFileAndIsReported) {
  const std::string report = tryWriting(remountReadOnly);
  if (report == kNotPermitted) GTEST_SKIP() << "no file system may be mounted here";
  EXPECT_EQ(report, "");
}

INSTANTIATE_TEST_SUITE_P(Files, FullDiskTest, testing::ValuesIn(WrittenFile::kinds()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace pellora
