#include <gtest/gtest.h>

#include "PelloraMessagesCore/AnalysedDays.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "Tests/Support/SampleRecords.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

class AnalysedDaysTest : public testing::Test {
 protected:
  support::TemporaryFolder _folder;
  ExchangeKey _key = ExchangeKey::random();
  AnalysedDays _sample{9, support::sampleDays(3)};
  AnalysedDays _nothing{9, {}};
};

TEST_F(AnalysedDaysTest, AreKeptSealedBesideTheNotes) {
  _sample.save(_key, _folder.path());
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 9), _sample);
  EXPECT_TRUE(AtomicFile::read(_folder / "Helper/analysed.json")->starts_with("PMX1"));
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder.path()), std::nullopt);
}

TEST_F(AnalysedDaysTest, AreEmptyUnderAnotherNotesVersion) {
  _sample.save(_key, _folder.path());
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 10), (AnalysedDays{10, {}}));
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 9), _sample);
}

TEST_F(AnalysedDaysTest, AreEmptyWhenTheFileCannotBeRead) {
  EXPECT_EQ(AnalysedDays::load(_key, std::nullopt, 9), _nothing);
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 9), _nothing);
  _sample.save(_key, _folder.path());
  EXPECT_EQ(AnalysedDays::load(ExchangeKey::random(), _folder.path(), 9), _nothing);
  const auto file = _folder / "Helper/analysed.json";
  AtomicFile::write(file, AtomicFile::read(file)->substr(0, 100));
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 9), _nothing);
}

TEST_F(AnalysedDaysTest, NotesInTheirPlaceAreNotTaken) {
  HelperDayNotes{support::sampleDays(3)}.save(_key, _folder.path());
  std::filesystem::rename(_folder / "Helper/notes.json", _folder / "Helper/analysed.json");
  EXPECT_EQ(AnalysedDays::load(_key, _folder.path(), 9), _nothing);
}

TEST_F(AnalysedDaysTest, AreRemovedWithoutFailing) {
  AnalysedDays::remove(std::nullopt);
  AnalysedDays::remove(_folder.path());
  _sample.save(_key, _folder.path());
  AnalysedDays::remove(_folder.path());
  EXPECT_FALSE(std::filesystem::exists(_folder / "Helper/analysed.json"));
}

TEST_F(AnalysedDaysTest, SavingWithoutAFolderFails) {
  EXPECT_THROW(_sample.save(_key, std::nullopt), FileError);
}

}  // namespace
}  // namespace pellora
