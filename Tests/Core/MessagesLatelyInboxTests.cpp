#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "Tests/Support/SampleRecords.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

using support::kAnna;
using support::kSam;

const std::string kAnnaName = kAnna.toString();
const std::string kSamName = kSam.toString();

MessagesLatelyRecord recordOf(const Uuid& person, const std::string& handle = "+15551234567") {
  MessagesLatelyRecord record = support::sampleLately();
  record.personID = person;
  record.handle = handle;
  return record;
}

class MessagesLatelyInboxTest : public testing::Test {
 protected:
  fs::path lately(const std::string& name) const { return _folder / "Lately" / name; }

  // Seals the record under whatever name.
  void put(const std::string& fileName, const std::string& contextName, const MessagesLatelyRecord& record) const {
    AtomicFile::write(lately(fileName),
                      SealedEnvelope::seal(ExchangeCoding::encode(record), _key, "lately:" + contextName));
  }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(_folder / "Lately")) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::size_t sweep() const { return MessagesLatelyInbox::sweep(_key, _folder.path()).removed; }

  support::TemporaryFolder _folder;
  ExchangeKey _key = ExchangeKey::random();
};

TEST_F(MessagesLatelyInboxTest, ReadsWhatWasWrittenUnderThePersonsName) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  EXPECT_EQ(names(), std::vector<std::string>{kAnnaName + ".json"});
  EXPECT_EQ(MessagesLatelyInbox::read(_key, _folder.path(), kAnna), recordOf(kAnna));
  EXPECT_EQ(MessagesLatelyInbox::read(_key, _folder.path(), kSam), std::nullopt);
  const auto envelope = AtomicFile::read(lately(kAnnaName + ".json"));
  EXPECT_EQ(SealedEnvelope::open(*envelope, _key, "lately:" + kAnnaName), ExchangeCoding::encode(recordOf(kAnna)));
}

TEST_F(MessagesLatelyInboxTest, WritingTwiceLeavesOneFileWithTheSecondRecord) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna, "first"));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna, "second"));
  EXPECT_EQ(names().size(), 1u);
  EXPECT_EQ(MessagesLatelyInbox::read(_key, _folder.path(), kAnna)->handle, "second");
}

TEST_F(MessagesLatelyInboxTest, WritesManyAtOnceAsOneByOne) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna, "old"));
  MessagesLatelyInbox::writeAll(_key, _folder.path(), {});
  MessagesLatelyInbox::writeAll(_key, _folder.path(), {recordOf(kSam), recordOf(kAnna, "new")});
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()),
            (std::vector<MessagesLatelyRecord>{recordOf(kAnna, "new"), recordOf(kSam)}));
  EXPECT_EQ(names().size(), 2u);
  EXPECT_THROW(MessagesLatelyInbox::writeAll(_key, std::nullopt, {recordOf(kAnna)}), FileError);
}

TEST_F(MessagesLatelyInboxTest, WithoutAFolderReadsNothingAndRefusesToWrite) {
  EXPECT_EQ(MessagesLatelyInbox::read(_key, std::nullopt, kAnna), std::nullopt);
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, std::nullopt).empty());
  EXPECT_TRUE(MessagesLatelyInbox::remove(std::nullopt, kAnna));
  EXPECT_EQ(MessagesLatelyInbox::sweep(_key, std::nullopt).removed, 0u);
  try {
    MessagesLatelyInbox::write(_key, std::nullopt, recordOf(kAnna));
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.code(), ENOENT);
  }
}

TEST_F(MessagesLatelyInboxTest, MissingFolderIsAnEmptyInboxAndStaysMissing) {
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder / "nowhere").empty());
  EXPECT_EQ(MessagesLatelyInbox::sweep(_key, _folder / "nowhere").removed, 0u);
  EXPECT_EQ(sweep(), 0u);
  EXPECT_TRUE(fs::is_empty(_folder.path()));
}

TEST_F(MessagesLatelyInboxTest, ReadsAllRecordsInTheOrderOfTheirNames) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kSam));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()),
            (std::vector<MessagesLatelyRecord>{recordOf(kAnna), recordOf(kSam)}));
}

TEST_F(MessagesLatelyInboxTest, RecordsSwappedBetweenTwoPeopleAreSkippedAndSwept) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kSam));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  fs::rename(lately(kAnnaName + ".json"), lately("swap"));
  fs::rename(lately(kSamName + ".json"), lately(kAnnaName + ".json"));
  fs::rename(lately("swap"), lately(kSamName + ".json"));
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(MessagesLatelyInbox::read(_key, _folder.path(), kAnna), std::nullopt);
  EXPECT_EQ(sweep(), 2u);
  EXPECT_TRUE(names().empty());
}

TEST_F(MessagesLatelyInboxTest, RecordThatNamesAnotherPersonThanItsFileIsSkippedAndSwept) {
  put(kSamName + ".json", kSamName, recordOf(kAnna));
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(sweep(), 1u);
  EXPECT_TRUE(names().empty());
}

TEST_F(MessagesLatelyInboxTest, NameIsTakenAsItStands) {
  const std::string lower = "6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10";
  put(lower + ".json", lower, recordOf(kAnna));
  put(kAnnaName + ".copy.json", kAnnaName, recordOf(kAnna));
  put("anything.json", "anything", recordOf(kAnna));
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(sweep(), 3u);
}

TEST_F(MessagesLatelyInboxTest, OnlyTheExtensionJsonCounts) {
  const std::vector<std::string> others = {"notes.txt", ".json", "a.JSON", "a.json.bak", "json", "a.jsonl", "a.json "};
  for (const std::string& name : others) AtomicFile::write(lately(name), "x");
  for (const std::string name : {"a.json", ".hidden.json", "a..json", "a.txt.json"})
    AtomicFile::write(lately(name), "x");
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(sweep(), 4u);
  std::vector<std::string> expected = others;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names(), expected);
}

TEST_F(MessagesLatelyInboxTest, SweepKeepsEveryValidRecord) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kSam));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  AtomicFile::write(lately("00000000-0000-0000-0000-000000000000.json"), "damaged");
  EXPECT_EQ(sweep(), 1u);
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()).size(), 2u);
  EXPECT_EQ(sweep(), 0u);
}

TEST_F(MessagesLatelyInboxTest, UnderANewKeyNoRecordOpensAndTheSweepRemovesAll) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kSam));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  const ExchangeKey newKey = ExchangeKey::random();
  EXPECT_TRUE(MessagesLatelyInbox::readAll(newKey, _folder.path()).empty());
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()).size(), 2u);
  EXPECT_EQ(MessagesLatelyInbox::sweep(newKey, _folder.path()).removed, 2u);
  EXPECT_TRUE(names().empty());
}

TEST_F(MessagesLatelyInboxTest, SealedBytesThatDoNotDecodeAreSkippedAndSwept) {
  AtomicFile::write(lately(kAnnaName + ".json"), SealedEnvelope::seal("{}", _key, "lately:" + kAnnaName));
  EXPECT_EQ(MessagesLatelyInbox::read(_key, _folder.path(), kAnna), std::nullopt);
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(names().size(), 1u);
  EXPECT_EQ(sweep(), 1u);
}

TEST_F(MessagesLatelyInboxTest, WhatIsNoFileIsReadAsNothing) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  fs::create_directories(lately("folder.json/inside"));
  ASSERT_EQ(::mkfifo(lately("pipe.json").c_str(), 0600), 0);
  fs::create_symlink("nowhere", lately("dangling.json"));
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()).size(), 1u);
  EXPECT_EQ(sweep(), 2u);
  EXPECT_TRUE(fs::exists(lately("folder.json/inside")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(lately("dangling.json"))));
}

TEST_F(MessagesLatelyInboxTest, ListsFilesThatMayBeRecordsAndNoFolders) {
  EXPECT_TRUE(MessagesLatelyInbox::list(std::nullopt).names.empty());
  EXPECT_FALSE(MessagesLatelyInbox::list(_folder.path()).error);
  EXPECT_FALSE(MessagesLatelyInbox::list(_folder / "nowhere").error);
  for (const char* name : {"b.json", "a.json", "notes.txt", ".json", "C.JSON"}) AtomicFile::write(lately(name), "x");
  fs::create_directory(lately("folder.json"));
  fs::create_directory_symlink("folder.json", lately("link.json"));
  const auto listing = MessagesLatelyInbox::list(_folder.path());
  EXPECT_EQ(listing.names, (std::vector<std::string>{"a", "b", "link"}));
  EXPECT_FALSE(listing.error);
}

TEST_F(MessagesLatelyInboxTest, TellsWhenItCannotList) {
  fs::create_symlink("Lately", _folder / "Lately");
  EXPECT_EQ(MessagesLatelyInbox::list(_folder.path()).error, std::errc::too_many_symbolic_link_levels);
  EXPECT_TRUE(MessagesLatelyInbox::readAll(_key, _folder.path()).empty());
  EXPECT_EQ(sweep(), 0u);
  fs::remove(_folder / "Lately");
  AtomicFile::write(_folder / "Lately", "x");
  EXPECT_EQ(MessagesLatelyInbox::list(_folder.path()).error, std::errc::not_a_directory);
}

TEST_F(MessagesLatelyInboxTest, SweepRemovesALinkAndNotWhatItLeadsTo) {
  AtomicFile::write(_folder / "precious", "x");
  fs::create_directories(_folder / "Lately");
  fs::create_symlink("../precious", lately("link.json"));
  EXPECT_EQ(sweep(), 1u);
  EXPECT_EQ(AtomicFile::read(_folder / "precious"), "x");
}

TEST_F(MessagesLatelyInboxTest, SweepDoesNotClearAFolderElsewhere) {
  AtomicFile::write(_folder / "elsewhere/precious.json", "x");
  fs::create_symlink("elsewhere", _folder / "Lately");
  EXPECT_EQ(sweep(), 0u);
  EXPECT_EQ(AtomicFile::read(_folder / "elsewhere/precious.json"), "x");
}

TEST_F(MessagesLatelyInboxTest, SweepRemovesTheFolderDaysWhole) {
  AtomicFile::write(_folder / "Days/deep/deeper/file.json", "x");
  AtomicFile::write(_folder / "Days/file", "x");
  EXPECT_EQ(sweep(), 0u);
  EXPECT_FALSE(fs::exists(_folder / "Days"));
}

TEST_F(MessagesLatelyInboxTest, SweepFollowsNoLinkOutOfDays) {
  AtomicFile::write(_folder / "elsewhere/precious", "x");
  fs::create_directory(_folder / "Days");
  fs::create_directory_symlink(_folder / "elsewhere", _folder / "Days/link");
  sweep();
  EXPECT_FALSE(fs::exists(_folder / "Days"));
  fs::create_directory_symlink(_folder / "elsewhere", _folder / "Days");
  sweep();
  EXPECT_FALSE(fs::exists(fs::symlink_status(_folder / "Days")));
  EXPECT_EQ(AtomicFile::read(_folder / "elsewhere/precious"), "x");
}

TEST_F(MessagesLatelyInboxTest, SweepLeavesTheOtherExchangeFilesAlone) {
  for (const std::string name : {"people.json", "heartbeat.json", "Helper/notes.json", "Days.json"})
    AtomicFile::write(_folder / name, "x");
  EXPECT_EQ(sweep(), 0u);
  for (const std::string name : {"people.json", "heartbeat.json", "Helper/notes.json", "Days.json"})
    EXPECT_TRUE(fs::exists(_folder / name)) << name;
}

TEST_F(MessagesLatelyInboxTest, RemovesOnePersonsRecordOnly) {
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kSam));
  MessagesLatelyInbox::write(_key, _folder.path(), recordOf(kAnna));
  EXPECT_TRUE(MessagesLatelyInbox::remove(_folder.path(), kAnna));
  EXPECT_EQ(MessagesLatelyInbox::readAll(_key, _folder.path()), std::vector<MessagesLatelyRecord>{recordOf(kSam)});
  EXPECT_TRUE(MessagesLatelyInbox::remove(_folder.path(), kAnna));
  EXPECT_TRUE(MessagesLatelyInbox::remove(_folder / "nowhere", kAnna));
}

TEST_F(MessagesLatelyInboxTest, TellsWhenARecordCannotBeRemoved) {
  fs::create_directories(lately(kAnnaName + ".json"));
  EXPECT_FALSE(MessagesLatelyInbox::remove(_folder.path(), kAnna));
}

}  // namespace
}  // namespace pellora
