// The process next to a confined one: what it can be asked for, and how it ends.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>

#include "Adapters/Linux/Process/Keeper.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

class KeeperTest : public testing::Test {
 protected:
  std::unique_ptr<Keeper> start() {
    return Keeper::start(
        {[this] { return write("first"); }, [this] { return write("second"); }, [] { return false; }},
        [this] { write("confined"); }, [this] { write("finished"); });
  }

  bool write(const std::string& name) const {
    std::ofstream(_folder / name) << getpid();
    return true;
  }
  bool isThere(const std::string& name) const { return std::filesystem::exists(_folder / name); }

  support::TemporaryFolder _folder;
};

TEST_F(KeeperTest, DutiesAreDoneByAnotherProcessAfterItsConfinement) {
  const auto keeper = start();
  ASSERT_TRUE(keeper);
  EXPECT_TRUE(keeper->ask(1));
  EXPECT_TRUE(isThere("confined"));
  EXPECT_TRUE(isThere("second"));
  EXPECT_FALSE(isThere("first"));
  pid_t process = 0;
  std::ifstream(_folder / "second") >> process;
  EXPECT_NE(process, getpid());
}

TEST_F(KeeperTest, ADutyThatFailsAndOneThatThereIsNotGiveFalse) {
  const auto keeper = start();
  ASSERT_TRUE(keeper);
  EXPECT_FALSE(keeper->ask(2));
  EXPECT_FALSE(keeper->ask(3));
  EXPECT_FALSE(keeper->ask(255));
  EXPECT_TRUE(keeper->ask(0));
}

TEST_F(KeeperTest, FinishesBeforeItsOwnerGoesOn) {
  start().reset();
  EXPECT_TRUE(isThere("finished"));
}

TEST_F(KeeperTest, FinishesWhenTheAskingProcessIsKilled) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t process = fork();
  if (process == 0) {
    const auto keeper = start();
    keeper->ask(0);
    (void)!::write(ends[1], "x", 1);
    pause();
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(retried([&] { return read(ends[0], &byte, 1); }), 1);
  kill(process, SIGKILL);
  retried([&] { return waitpid(process, nullptr, 0); });
  EXPECT_TRUE(support::waitUntil([this] { return isThere("finished"); }));
}

TEST_F(KeeperTest, AKeeperThatIsGoneGivesFalse) {
  const auto keeper = start();
  ASSERT_TRUE(keeper->ask(0));
  pid_t process = 0;
  std::ifstream(_folder / "first") >> process;
  kill(process, SIGKILL);
  retried([&] { return waitpid(process, nullptr, 0); });
  EXPECT_FALSE(keeper->ask(0));
}

}  // namespace
}  // namespace pellora
