// One helper at a time where there is no session bus. With one: Tests/Desktop/desktop-test.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "Adapters/Linux/Desktop/SessionAppInstance.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::waitUntil;

constexpr auto kShows = AppInstance::Later::showsFirst;
constexpr auto kStaysQuiet = AppInstance::Later::staysQuiet;

class WithoutABus : public testing::Test {
 protected:
  WithoutABus() {
    environment.unset("DBUS_SESSION_BUS_ADDRESS");
    environment.set("XDG_RUNTIME_DIR", folder.path().string());
  }

  support::TemporaryFolder folder;
  support::ScopedEnvironment environment;
  AppInstance::Activated count() {
    return [this](const std::string& token) {
      ++activations;
      lastToken = token;
    };
  }

  int activations = 0;
  std::string lastToken;
};

TEST_F(WithoutABus, TheSecondInstanceShowsTheFirst) {
  SessionAppInstance first(folder / "shared");
  EXPECT_TRUE(first.claim(count(), kShows, {}));
  SessionAppInstance second(folder / "shared");
  EXPECT_FALSE(second.claim([](auto&) { FAIL(); }, kShows, "the token"));
  EXPECT_TRUE(waitUntil([this] { return activations == 1; }));
  EXPECT_EQ(lastToken, "the token");
}

TEST_F(WithoutABus, AQuietSecondInstanceShowsNothing) {
  SessionAppInstance first(folder / "shared");
  EXPECT_TRUE(first.claim(count(), kShows, {}));
  EXPECT_FALSE(SessionAppInstance(folder / "shared").claim([](auto&) { FAIL(); }, kStaysQuiet, {}));
  EXPECT_FALSE(SessionAppInstance(folder / "shared").claim([](auto&) { FAIL(); }, kShows, "loud"));
  EXPECT_TRUE(waitUntil([this] { return activations > 0; }));
  EXPECT_EQ(activations, 1);
  EXPECT_EQ(lastToken, "loud");
}

TEST_F(WithoutABus, ThePlaceIsFreeAgainAfterTheFirst) {
  {
    EXPECT_TRUE(SessionAppInstance(folder / "shared").claim([](auto&) {}, kShows, {}));
  }
  EXPECT_TRUE(SessionAppInstance(folder / "shared").claim([](auto&) {}, kShows, {}));
}

TEST_F(WithoutABus, OtherSharedFoldersAreOtherPlaces) {
  SessionAppInstance first(folder / "shared");
  SessionAppInstance second(folder / "other");
  EXPECT_TRUE(first.claim([](auto&) {}, kShows, {}));
  EXPECT_TRUE(second.claim([](auto&) {}, kShows, {}));
}

TEST_F(WithoutABus, ALockThatNobodyAnswersForDoesNotKeepTheHelperAway) {
  const auto read = InstanceLock::take(folder / "shared", InstanceLock::Kind::read);
  ASSERT_TRUE(read);
  EXPECT_TRUE(SessionAppInstance(folder / "shared").claim([](auto&) {}, kShows, {}));
}

TEST_F(WithoutABus, AReadFromTheCommandLineKnowsOfTheHelperAndTheHelperOfIt) {
  using Kind = InstanceLock::Kind;
  EXPECT_FALSE(InstanceLock::isHeld(folder / "shared", Kind::helper));
  {
    SessionAppInstance helper(folder / "shared");
    EXPECT_TRUE(helper.claim([](auto&) {}, kShows, {}));
    EXPECT_TRUE(InstanceLock::isHeld(folder / "shared", Kind::helper));
    EXPECT_FALSE(InstanceLock::take(folder / "shared", Kind::read));
    EXPECT_FALSE(InstanceLock::isHeld(folder / "other", Kind::helper));
  }
  EXPECT_FALSE(InstanceLock::isHeld(folder / "shared", Kind::helper));
  EXPECT_TRUE(InstanceLock::take(folder / "shared", Kind::read));
}

TEST_F(WithoutABus, OfManyLaunchesAtOnceOneStays) {
  constexpr int kRounds = 10;
  constexpr int kLaunches = 10;
  for (int round = 0; round < kRounds; ++round) {
    std::array<int, 2> gate{};
    std::array<int, 2> results{};
    ASSERT_EQ(pipe(gate.data()), 0);
    ASSERT_EQ(pipe(results.data()), 0);
    std::vector<pid_t> launches;
    for (int launch = 0; launch < kLaunches; ++launch) {
      launches.push_back(fork());
      if (launches.back() != 0) continue;
      char byte = 0;
      close(gate[1]);
      while (read(gate[0], &byte, 1) > 0) continue;  // until all are there
      SessionAppInstance instance(folder / "shared");
      const char result = instance.claim([](auto&) {}, kShows, {}) ? '1' : '0';
      (void)!::write(results[1], &result, 1);
      if (result == '1') pause();
      _exit(0);
    }
    close(gate[0]);
    close(gate[1]);
    std::string all;
    char byte = 0;
    while (all.size() < kLaunches && retried([&] { return ::read(results[0], &byte, 1); }) == 1) all += byte;
    EXPECT_EQ(std::count(all.begin(), all.end(), '1'), 1) << all;
    for (const pid_t launch : launches) {
      kill(launch, SIGKILL);
      retried([&] { return waitpid(launch, nullptr, 0); });
    }
    close(results[0]);
    close(results[1]);
  }
}

TEST_F(WithoutABus, ASocketLeftBehindIsTakenOver) {
  const auto path = folder / "old.sock";
  {
    const ActivationSocket killed(path, [](auto&) {});
  }
  std::filesystem::create_symlink("/nonexistent", path);
  EXPECT_FALSE(ActivationSocket::send(path, {}));
  const ActivationSocket fresh(path, count());
  EXPECT_TRUE(ActivationSocket::send(path, {}));
  EXPECT_TRUE(waitUntil([this] { return activations > 0; }));
}

TEST_F(WithoutABus, APathThatIsTooLongForASocketIsNobody) {
  EXPECT_FALSE(ActivationSocket::send(folder / std::string(200, 'x'), {}));
  const ActivationSocket none(folder / std::string(200, 'x'), [](auto&) {});
}

}  // namespace
}  // namespace pellora
