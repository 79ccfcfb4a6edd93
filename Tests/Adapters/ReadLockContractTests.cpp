// The contract of read locks, for the in-memory one and the platform's own.
#include <gtest/gtest.h>

#include "Adapters/InMemory/InMemoryStorage.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

class ReadLockContract : public testing::TestWithParam<bool> {
 protected:
  ReadLock& lock() {
    if (GetParam()) return _onFolder;
    return _inMemory;
  }

  support::TemporaryFolder _folder;
  InMemoryReadLock _inMemory;
  FolderReadLock _onFolder{_folder.path()};
};

TEST_P(ReadLockContract, OneReadHoldsItAtATime) {
  for (int round = 0; round < 3; ++round) {
    const auto held = lock().tryTake();
    EXPECT_TRUE(held);
    EXPECT_FALSE(lock().tryTake());
  }
  EXPECT_TRUE(lock().tryTake());
}

INSTANTIATE_TEST_SUITE_P(All, ReadLockContract, testing::Bool());

TEST(FolderReadLock, GoesWithItsProcessAndLeavesNothing) {
  const support::TemporaryFolder folder;
  FolderReadLock lock(folder.path());
  support::ForkedProcess other([&folder] {
    const auto held = FolderReadLock(folder.path()).tryTake();
    return held ? 0 : 1;
  });
  EXPECT_EQ(other.wait(), 0);
  EXPECT_TRUE(lock.tryTake());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(FolderReadLock, IsGivenToEverybodyWithoutAFolder) {
  FolderReadLock nowhere(std::nullopt);
  FolderReadLock missing("/nonexistent/folder");
  for (FolderReadLock* lock : {&nowhere, &missing}) {
    const auto held = lock->tryTake();
    EXPECT_TRUE(held);
    EXPECT_TRUE(lock->tryTake());
  }
}

}  // namespace
}  // namespace pellora
