// Folders that take the place of a removed or replaced one.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "Adapters/Linux/Files/StandInFolders.h"
#include "Adapters/Linux/Process/ProcessConfinement.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

class StandInFoldersTest : public testing::Test {
 protected:
  static std::size_t entriesOf(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
  }

  support::TemporaryFolder _base;
  fs::path _folder = _base / "data/own";
  StandInFolders _standIns{_folder};
};

TEST_F(StandInFoldersTest, TheFolderOfTheStartIsInPlace) {
  EXPECT_TRUE(fs::is_directory(_folder));
  EXPECT_EQ(_standIns.paths().size(), static_cast<std::size_t>(StandInFolders::kCount));
  EXPECT_TRUE(_standIns.isInPlace());
  EXPECT_TRUE(_standIns.putInPlace());
  EXPECT_EQ(_standIns.paths().size(), static_cast<std::size_t>(StandInFolders::kCount));
}

TEST_F(StandInFoldersTest, ARemovedFolderIsPutBackPrivate) {
  fs::remove_all(_folder);
  EXPECT_FALSE(_standIns.isInPlace());
  EXPECT_TRUE(_standIns.putInPlace());
  struct stat status{};
  ASSERT_EQ(stat(_folder.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(StandInFoldersTest, AReplacedFolderKeepsItsContent) {
  for (int round = 0; round < StandInFolders::kCount; ++round) {
    fs::remove_all(_folder);
    fs::create_directories(_folder / "Lately");
    std::ofstream(_folder / "people.json") << round;
    std::ofstream(_folder / "Lately/record") << round;
    EXPECT_FALSE(_standIns.isInPlace()) << round;
    EXPECT_TRUE(_standIns.putInPlace()) << round;
    EXPECT_EQ(AtomicFile::read(_folder / "people.json"), std::to_string(round));
    EXPECT_EQ(AtomicFile::read(_folder / "Lately/record"), std::to_string(round));
  }
  EXPECT_EQ(_standIns.paths().size(), 0U);
  fs::remove_all(_folder);
  EXPECT_FALSE(_standIns.putInPlace());
}

TEST_F(StandInFoldersTest, ALinkInTheFoldersPlaceStays) {
  fs::remove_all(_folder);
  fs::create_directory(_base / "elsewhere");
  fs::create_directory_symlink(_base / "elsewhere", _folder);
  EXPECT_FALSE(_standIns.putInPlace());
  EXPECT_TRUE(fs::is_symlink(_folder));
}

TEST_F(StandInFoldersTest, NothingIsLeftAtTheEnd) {
  fs::remove_all(_folder);
  ASSERT_TRUE(_standIns.putInPlace());
  _standIns.remove();
  EXPECT_EQ(entriesOf(_base / "data"), 1U);
}

TEST_F(StandInFoldersTest, WhatAKilledProcessLeftGoesAtTheNextStartAndWhatOthersUseStays) {
  const fs::path left = _base / "data/.own.stand-ins.2147483647";
  fs::create_directories(left / "1");
  const StandInFolders other(_folder);
  EXPECT_FALSE(fs::exists(left));
  EXPECT_TRUE(fs::exists(_standIns.paths().front()));
}

}  // namespace
}  // namespace pellora
