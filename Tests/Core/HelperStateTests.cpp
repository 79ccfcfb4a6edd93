#include <gtest/gtest.h>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperState.h"
#include "Tests/Support/SampleRecords.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

class HelperStateTest : public testing::Test {
 protected:
  support::TemporaryFolder _folder;
  ExchangeKey _key = ExchangeKey::random();
  HelperState _sample = support::sampleState();
};

TEST_F(HelperStateTest, IsKeptSealedBesideTheNotes) {
  _sample.save(_key, _folder.path());
  EXPECT_EQ(HelperState::load(_key, _folder.path()), _sample);
  EXPECT_TRUE(AtomicFile::read(_folder / "Helper/state.json")->starts_with("PMX1"));
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder.path()), std::nullopt);
}

TEST_F(HelperStateTest, IsAbsentWhenTheFileCannotBeRead) {
  EXPECT_EQ(HelperState::load(_key, std::nullopt), std::nullopt);
  EXPECT_EQ(HelperState::load(_key, _folder.path()), std::nullopt);
  _sample.save(_key, _folder.path());
  EXPECT_EQ(HelperState::load(ExchangeKey::random(), _folder.path()), std::nullopt);
  const auto file = _folder / "Helper/state.json";
  AtomicFile::write(file, AtomicFile::read(file)->substr(0, 100));
  EXPECT_EQ(HelperState::load(_key, _folder.path()), std::nullopt);
}

TEST_F(HelperStateTest, NotesInItsPlaceAreNotTaken) {
  HelperDayNotes{support::sampleDays(3)}.save(_key, _folder.path());
  std::filesystem::rename(_folder / "Helper/notes.json", _folder / "Helper/state.json");
  EXPECT_EQ(HelperState::load(_key, _folder.path()), std::nullopt);
}

TEST_F(HelperStateTest, SavingWithoutAFolderFails) {
  EXPECT_THROW(_sample.save(_key, std::nullopt), FileError);
  EXPECT_THROW(HelperState::requestReread(_key, std::nullopt, HelperState::Reread::store), FileError);
}

TEST_F(HelperStateTest, ARequestToReadAgainStaysUntilItIsTakenAway) {
  EXPECT_EQ(HelperState::requestedReread(_key, _folder.path()), std::nullopt);
  for (const HelperState::Reread reread : {HelperState::Reread::store, HelperState::Reread::language}) {
    HelperState::requestReread(_key, _folder.path(), reread);
    EXPECT_EQ(HelperState::requestedReread(_key, _folder.path()), reread);
    _sample.save(_key, _folder.path());
    EXPECT_EQ(HelperState::requestedReread(_key, _folder.path()), reread) << "saving the state does not lose it";
  }
  EXPECT_EQ(HelperState::requestedReread(ExchangeKey::random(), _folder.path()), std::nullopt);
  HelperState::removeRereadRequest(_folder.path());
  HelperState::removeRereadRequest(_folder.path());
  HelperState::removeRereadRequest(std::nullopt);
  EXPECT_EQ(HelperState::requestedReread(_key, _folder.path()), std::nullopt);
}

}  // namespace
}  // namespace pellora
