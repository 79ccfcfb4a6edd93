// Where locks and sockets go, whatever the environment says.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

class RuntimeFolderTest : public testing::Test {
 protected:
  RuntimeFolderTest() {
    fs::create_directory(_home);
    _environment.set("HOME", _home.string());
    _environment.unset("XDG_RUNTIME_DIR");
  }

  static mode_t modeOf(const fs::path& folder) {
    struct stat status{};
    return stat(folder.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
  }

  support::TemporaryFolder _folder;
  support::ScopedEnvironment _environment;
  const fs::path _home = _folder / "home";
  const fs::path _inHome = _home / ".cache/app.pellora.messages.runtime";
};

TEST_F(RuntimeFolderTest, TheOneOfTheLoginIsUsed) {
  fs::create_directory(_folder / "run");
  chmod((_folder / "run").c_str(), 0700);
  _environment.set("XDG_RUNTIME_DIR", (_folder / "run").string());
  EXPECT_EQ(RuntimeFolder::path(), _folder / "run");
  EXPECT_EQ(RuntimeFolder::own(), _folder / "run/app.pellora.messages");
  EXPECT_EQ(modeOf(_folder / "run/app.pellora.messages"), 0700U);
}

TEST_F(RuntimeFolderTest, WithoutOneThereIsAPrivateOneInTheHome) {
  EXPECT_EQ(RuntimeFolder::path(), _inHome);
  EXPECT_EQ(modeOf(_inHome), 0700U);
  EXPECT_EQ(RuntimeFolder::own(), _inHome / "app.pellora.messages");
  EXPECT_EQ(RuntimeFolder::path(), _inHome);
}

TEST_F(RuntimeFolderTest, OneThatOthersMayWriteOrThatIsALinkIsNotUsed) {
  fs::create_directory(_folder / "run");
  chmod((_folder / "run").c_str(), 0777);
  _environment.set("XDG_RUNTIME_DIR", (_folder / "run").string());
  EXPECT_EQ(RuntimeFolder::path(), _inHome);
  chmod((_folder / "run").c_str(), 0700);
  fs::create_directory_symlink(_folder / "run", _folder / "link");
  _environment.set("XDG_RUNTIME_DIR", (_folder / "link").string());
  EXPECT_EQ(RuntimeFolder::path(), _inHome);
}

TEST_F(RuntimeFolderTest, OneThatAnotherUserMadeFirstIsNotUsed) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make another user's folder";
  fs::create_directory(_folder / "run");
  chmod((_folder / "run").c_str(), 0700);
  ASSERT_EQ(chown((_folder / "run").c_str(), 12345, 12345), 0);
  _environment.set("XDG_RUNTIME_DIR", (_folder / "run").string());
  EXPECT_EQ(RuntimeFolder::path(), _inHome);
}

TEST_F(RuntimeFolderTest, AFolderInTheHomeThatOthersMayReadIsNotUsed) {
  fs::create_directories(_inHome);
  chmod(_inHome.c_str(), 0755);
  EXPECT_EQ(RuntimeFolder::path(), std::nullopt);
}

}  // namespace
}  // namespace pellora
