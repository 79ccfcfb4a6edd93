#include <gtest/gtest.h>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kWrittenSecond = 1'740'821'400;

HelperPeopleFile twoPeople() {
  HelperPerson anna;
  anna.id = *Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10");
  anna.firstName = "Ann\u00E4 \"the\" \U0001F382";
  anna.phones = {"5551234567", "\u0661\u0662\u0663"};
  anna.emails = {"anna@example.com"};
  HelperPerson sam;
  sam.id = *Uuid::parse("00000000-0000-0000-0000-0000000000ff");
  return {instantAtSeconds(kWrittenSecond), {anna, sam}};
}

class HelperPeopleFileTest : public testing::Test {
 protected:
  support::TemporaryFolder _folder;
  ExchangeKey _key = ExchangeKey::random();
};

TEST_F(HelperPeopleFileTest, LiesInTheFolderWhenThereIsOne) {
  EXPECT_EQ(HelperPeopleFile::url(_folder.path()), _folder / "people.json");
  EXPECT_EQ(HelperPeopleFile::url(std::nullopt), std::nullopt);
}

TEST_F(HelperPeopleFileTest, ReadsWhatWasWritten) {
  twoPeople().write(_key, _folder.path());
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), twoPeople());
}

TEST_F(HelperPeopleFileTest, CreatesTheFolderWithMode0700AndTheFileWithMode0600) {
  twoPeople().write(_key, _folder / "share/exchange");
  EXPECT_EQ(fs::status(_folder / "share/exchange").permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(_folder / "share/exchange/people.json").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(HelperPeopleFileTest, WithoutAFolderReadsAbsentAndRefusesToWrite) {
  EXPECT_EQ(HelperPeopleFile::read(_key, std::nullopt), std::nullopt);
  EXPECT_THROW(twoPeople().write(_key, std::nullopt), FileError);
}

TEST_F(HelperPeopleFileTest, MissingFileReadsAsAbsent) {
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt);
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder / "nowhere"), std::nullopt);
}

TEST_F(HelperPeopleFileTest, UnsealedFileReadsAsAbsent) {
  AtomicFile::write(_folder / "people.json", ExchangeCoding::encode(twoPeople()));
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt);
}

TEST_F(HelperPeopleFileTest, FileSealedForAnotherPurposeReadsAsAbsent) {
  AtomicFile::write(_folder / "people.json",
                    SealedEnvelope::seal(ExchangeCoding::encode(twoPeople()), _key, "helper-notes"));
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt);
}

TEST_F(HelperPeopleFileTest, FileOfAnotherKeyReadsAsAbsentAndStays) {
  twoPeople().write(_key, _folder.path());
  const auto before = AtomicFile::read(_folder / "people.json");
  EXPECT_EQ(HelperPeopleFile::read(ExchangeKey::random(), _folder.path()), std::nullopt);
  EXPECT_EQ(AtomicFile::read(_folder / "people.json"), before);
}

TEST_F(HelperPeopleFileTest, SealedBytesThatDoNotDecodeReadAsAbsent) {
  for (const std::string json : {"", "{}", "[]", "null", R"({"people":[]})", R"({"people":[{}],"writtenAt":"x"})"}) {
    AtomicFile::write(_folder / "people.json", SealedEnvelope::seal(json, _key, "people"));
    EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt) << json;
  }
}

TEST_F(HelperPeopleFileTest, FolderInPlaceOfTheFileReadsAsAbsent) {
  fs::create_directory(_folder / "people.json");
  EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt);
  EXPECT_THROW(twoPeople().write(_key, _folder.path()), FileError);
}

TEST_F(HelperPeopleFileTest, EveryCutFileReadsAsAbsent) {
  twoPeople().write(_key, _folder.path());
  const std::string whole = *AtomicFile::read(_folder / "people.json");
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    AtomicFile::write(_folder / "people.json", whole.substr(0, size));
    EXPECT_EQ(HelperPeopleFile::read(_key, _folder.path()), std::nullopt) << size;
  }
}

}  // namespace
}  // namespace pellora
