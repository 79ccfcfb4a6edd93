// Lets single system calls fail (a filter in a forked process) and looks at what is left: the old file, or the new
// one, and no temporary file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr int kReported = 10;
constexpr int kOtherCode = 11;
constexpr int kNotReported = 12;
constexpr int kNoFilter = 13;

constexpr std::size_t kWrittenSize = 100'000;
// A bit of that size: sanitizers make small writes of their own, which must not fail.
constexpr unsigned kLargeCount = 0x10000;
static_assert((kWrittenSize & kLargeCount) != 0);

// From now on the call `number` fails with `code`; with flags, only when its third argument has them all.
bool failCall(long number, int code, unsigned flags = 0) {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 4),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
      BPF_STMT(BPF_ALU | BPF_AND | BPF_K, flags),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, flags, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(code)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {sizeof filter / sizeof filter[0], filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

class AtomicFileFaultTest : public testing::Test {
 protected:
  // The report of a write in a process in which this call fails.
  int writeWithFault(const fs::path& file, long call, int code, unsigned flags = 0) {
    support::ForkedProcess writer([&] {
      if (!failCall(call, code, flags)) return kNoFilter;
      return outcome(file, code);
    });
    return writer.wait();
  }

  static int outcome(const fs::path& file, int expectedCode) {
    try {
      AtomicFile::write(file, std::string(kWrittenSize, 'n'));
      return kNotReported;
    } catch (const FileError& error) {
      return error.code() == expectedCode ? kReported : kOtherCode;
    }
  }

  void SetUp() override { std::ofstream(_folder / "file") << "old"; }

  std::size_t fileCount() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(_folder.path()), fs::directory_iterator()));
  }

  support::TemporaryFolder _folder;
};

TEST_F(AtomicFileFaultTest, FailedCallLeavesTheOldFileAndIsReported) {
  struct Case {
    long call;
    int code;
    unsigned flags;
  };
  for (const Case& each : std::vector<Case>{{SYS_write, ENOSPC, kLargeCount},
                                            {SYS_write, EIO, kLargeCount},
                                            {SYS_fsync, EIO, 0},
                                            {SYS_fsync, ENOSPC, 0},
                                            {SYS_rename, EIO, 0},
                                            {SYS_rename, ENOSPC, 0},
                                            {SYS_close, EIO, 0},
                                            {SYS_fcntl, EMFILE, 0},
                                            {SYS_openat, ENOSPC, O_CREAT},
                                            {SYS_openat, EROFS, O_CREAT}}) {
    const int result = writeWithFault(_folder / "file", each.call, each.code, each.flags);
    if (result == kNoFilter) GTEST_SKIP() << "system calls cannot be filtered here";
    EXPECT_EQ(result, kReported) << each.call << " " << each.code;
    EXPECT_EQ(AtomicFile::read(_folder / "file"), "old") << each.call;
    EXPECT_EQ(fileCount(), 1u) << each.call;
  }
}

TEST_F(AtomicFileFaultTest, FolderThatCannotBeSyncedIsReportedWithTheNewFileInPlace) {
  const int result = writeWithFault(_folder / "file", SYS_openat, EMFILE, O_DIRECTORY);
  if (result == kNoFilter) GTEST_SKIP() << "system calls cannot be filtered here";
  EXPECT_EQ(result, kReported);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), std::string(kWrittenSize, 'n'));
  EXPECT_EQ(fileCount(), 1u);
}

TEST_F(AtomicFileFaultTest, FolderThatCannotBeMadeIsReported) {
  const int result = writeWithFault(_folder / "new/file", SYS_mkdir, ENOSPC);
  if (result == kNoFilter) GTEST_SKIP() << "system calls cannot be filtered here";
  EXPECT_EQ(result, kReported);
  EXPECT_EQ(fileCount(), 1u);
}

TEST_F(AtomicFileFaultTest, FileSystemWithoutLocksIsWrittenTo) {
  const int result = writeWithFault(_folder / "file", SYS_flock, ENOLCK);
  if (result == kNoFilter) GTEST_SKIP() << "system calls cannot be filtered here";
  EXPECT_EQ(result, kNotReported);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), std::string(kWrittenSize, 'n'));
}

TEST_F(AtomicFileFaultTest, ShortWriteIsContinuedUntilTheErrorShows) {
  support::ForkedProcess writer([this] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {50'000, 50'000};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return kNoFilter;
    return outcome(_folder / "file", EFBIG);
  });
  EXPECT_EQ(writer.wait(), kReported);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "old");
  EXPECT_EQ(fileCount(), 1u);
}

}  // namespace
}  // namespace pellora
