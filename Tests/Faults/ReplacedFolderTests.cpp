// The real helper, confined as shipped, where the user has put links in the place of its files and folders.
#include <gtest/gtest.h>
#include <unistd.h>

#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::DisturbedRun;

class ReplacedFolderTest : public testing::Test {
 protected:
  void SetUp() override {
    _home.addSomeDays();
    ASSERT_EQ(read(), 0);
    _expected = _home.records();
    fs::create_directory(_elsewhere);
  }

  void TearDown() override { fs::remove_all(_elsewhere); }

  int read() { return DisturbedRun::undisturbed(PELLORA_HELPER, {"--read-once"}, _home.environment()).exitCode; }

  // Moves it elsewhere and leaves a link.
  void replace(const fs::path& path) {
    fs::copy(path, _elsewhere / path.filename(), fs::copy_options::recursive);
    fs::remove_all(path);
    fs::create_symlink(_elsewhere / path.filename(), path);
  }

  support::ScratchHome _home;
  support::ScratchHome::Records _expected;
  // Not in shared memory, where everybody may write.
  fs::path _elsewhere = "/var/tmp/pellora-elsewhere-" + std::to_string(getpid());
};

TEST_F(ReplacedFolderTest, LinkedFoldersOfTheSharedFolderAreWrittenWhereTheyAre) {
  for (const char* name : {"Lately", "Helper"}) replace(_home.shared() / name);
  for (const char* folder : {"Lately", "Helper"})
    for (const fs::directory_entry& file : fs::directory_iterator(_elsewhere / folder)) fs::remove(file.path());
  EXPECT_EQ(read(), 0);
  EXPECT_TRUE(_home.records() == _expected);
  EXPECT_TRUE(fs::is_symlink(_home.shared() / "Lately"));
  EXPECT_TRUE(fs::exists(_elsewhere / "Helper/notes.json"));
}

TEST_F(ReplacedFolderTest, LinkedSettingsAreWrittenWhereTheyAre) {
  const fs::path settings = fs::path(_home.environment().at("XDG_CONFIG_HOME")) / "app.pellora.messages/defaults.ini";
  replace(settings);
  const auto before = fs::last_write_time(_elsewhere / "defaults.ini");
  EXPECT_EQ(read(), 0);
  EXPECT_TRUE(fs::is_symlink(settings));
  EXPECT_GT(fs::last_write_time(_elsewhere / "defaults.ini"), before);
}

}  // namespace
}  // namespace pellora
