// One helper at a time where there is no session bus. With one: Tests/Desktop/desktop-test.
#include <gtest/gtest.h>

#include "Adapters/Linux/Desktop/ActivationSocket.h"
#include "Adapters/Linux/Desktop/SessionAppInstance.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::waitUntil;

constexpr auto kShows = AppInstance::Later::showsFirst;
constexpr auto kQuiet = AppInstance::Later::staysQuiet;

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
  EXPECT_FALSE(SessionAppInstance(folder / "shared").claim([](auto&) { FAIL(); }, kQuiet, {}));
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
  const auto read = InstanceLock::take(folder / "shared");
  ASSERT_TRUE(read);
  EXPECT_TRUE(SessionAppInstance(folder / "shared").claim([](auto&) {}, kShows, {}));
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
