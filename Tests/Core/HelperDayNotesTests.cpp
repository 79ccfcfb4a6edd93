#include <gtest/gtest.h>

#include <algorithm>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "Tests/Support/SampleRecords.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::kAnna;
using support::kSam;
using Reread = HelperDayNotes::Reread;

const std::set<Uuid> kBoth = {kAnna, kSam};
const std::string kNoCutoff;

MessagesDayRecord dayOf(const Uuid& person, const std::string& day, std::int64_t lastSecond) {
  MessagesDayRecord record = support::sampleDay();
  record.personID = person;
  record.day = day;
  record.lastMessageAt = instantAtSeconds(lastSecond);
  return record;
}

std::vector<std::string> idsOf(const HelperDayNotes& notes) {
  std::vector<std::string> ids;
  for (const MessagesDayRecord& day : notes.days) ids.push_back(day.id());
  return ids;
}

class HelperDayNotesFileTest : public testing::Test {
 protected:
  support::TemporaryFolder _folder;
  ExchangeKey _key = ExchangeKey::random();
};

TEST_F(HelperDayNotesFileTest, LoadsWhatWasSaved) {
  const HelperDayNotes notes{support::sampleDays(100)};
  notes.save(_key, _folder / "shared");
  EXPECT_EQ(HelperDayNotes::load(_key, _folder / "shared"), notes);
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder / "shared"), notes);
  const auto envelope = AtomicFile::read(_folder / "shared/Helper/notes.json");
  ASSERT_TRUE(envelope.has_value());
  EXPECT_EQ(SealedEnvelope::open(*envelope, _key, "helper-notes"), ExchangeCoding::encode(notes));
}

TEST_F(HelperDayNotesFileTest, MissingOrForeignFileGivesEmptyNotesAndTellsSo) {
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder.path()), std::nullopt);
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, std::nullopt), std::nullopt);
  EXPECT_EQ(HelperDayNotes::load(_key, std::nullopt), HelperDayNotes());
  HelperDayNotes{support::sampleDays(1)}.save(_key, _folder.path());
  EXPECT_EQ(HelperDayNotes::loadIfReadable(ExchangeKey::random(), _folder.path()), std::nullopt);
  EXPECT_EQ(HelperDayNotes::load(ExchangeKey::random(), _folder.path()), HelperDayNotes());
  EXPECT_TRUE(HelperDayNotes::loadIfReadable(_key, _folder.path()).has_value());
}

TEST_F(HelperDayNotesFileTest, DamagedFileGivesEmptyNotesAndStays) {
  const auto file = _folder / "Helper/notes.json";
  const std::string json = ExchangeCoding::encode(HelperDayNotes{support::sampleDays(2)});
  for (const std::string& bytes :
       {std::string(), json, SealedEnvelope::seal(json, _key, "people"),
        SealedEnvelope::seal(json.substr(1), _key, "helper-notes"), SealedEnvelope::seal("{}", _key, "helper-notes"),
        SealedEnvelope::seal(json, _key, "helper-notes").substr(0, 60)}) {
    AtomicFile::write(file, bytes);
    EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder.path()), std::nullopt);
    EXPECT_EQ(HelperDayNotes::load(_key, _folder.path()), HelperDayNotes());
    EXPECT_EQ(AtomicFile::read(file), bytes);
  }
}

TEST_F(HelperDayNotesFileTest, EmptyNotesAreReadableNotes) {
  HelperDayNotes().save(_key, _folder.path());
  EXPECT_EQ(HelperDayNotes::loadIfReadable(_key, _folder.path()), HelperDayNotes());
}

TEST_F(HelperDayNotesFileTest, SavingWithoutAFolderFails) {
  EXPECT_THROW(HelperDayNotes().save(_key, std::nullopt), FileError);
}

TEST_F(HelperDayNotesFileTest, FailedSaveKeepsThePreviousFile) {
  const HelperDayNotes notes{support::sampleDays(3)};
  notes.save(_key, _folder.path());
  std::filesystem::rename(_folder / "Helper", _folder / "kept");
  AtomicFile::write(_folder / "Helper", "a file in the folder's place");
  EXPECT_THROW(HelperDayNotes().save(_key, _folder.path()), FileError);
  std::filesystem::remove(_folder / "Helper");
  std::filesystem::rename(_folder / "kept", _folder / "Helper");
  EXPECT_EQ(HelperDayNotes::load(_key, _folder.path()), notes);
}

TEST(HelperDayNotesMerge, AddsNewDaysAndNamesTheirPeople) {
  HelperDayNotes notes;
  EXPECT_EQ(notes.merge({dayOf(kAnna, "2025-03-02", 200), dayOf(kAnna, "2025-03-01", 100)}, Reread::incremental,
                        kNoCutoff, kBoth),
            std::set<Uuid>{kAnna});
  EXPECT_EQ(idsOf(notes),
            (std::vector<std::string>{kAnna.toString() + "_2025-03-01", kAnna.toString() + "_2025-03-02"}));
}

TEST(HelperDayNotesMerge, LeavesEqualDaysAlone) {
  const std::vector<MessagesDayRecord> same = {dayOf(kAnna, "2025-03-01", 100)};
  HelperDayNotes notes{same};
  EXPECT_TRUE(notes.merge(same, Reread::incremental, kNoCutoff, kBoth).empty());
  EXPECT_TRUE(notes.merge(same, Reread::full, kNoCutoff, kBoth).empty());
  EXPECT_TRUE(notes.merge({}, Reread::incremental, kNoCutoff, kBoth).empty());
  EXPECT_EQ(notes.days.size(), 1u);
}

TEST(HelperDayNotesMerge, ReplacesADayThatDiffersInAnyField) {
  using Change = void (*)(MessagesDayRecord&);
  const std::vector<Change> changes = {
      [](MessagesDayRecord& day) { day.handle = "other"; },
      [](MessagesDayRecord& day) { day.firstMessageAt += std::chrono::nanoseconds(1); },
      [](MessagesDayRecord& day) { day.lastMessageAt += std::chrono::nanoseconds(1); },
      [](MessagesDayRecord& day) { ++day.sentCount; },
      [](MessagesDayRecord& day) { ++day.receivedCount; },
      [](MessagesDayRecord& day) { day.startedByMe = !day.startedByMe; },
      [](MessagesDayRecord& day) { day.waitingOnYou = !day.waitingOnYou; },
      [](MessagesDayRecord& day) { day.sentURLs.clear(); },
      [](MessagesDayRecord& day) { day.birthdayHint = !day.birthdayHint; },
      [](MessagesDayRecord& day) { day.summary.reset(); },
      [](MessagesDayRecord& day) { day.news.clear(); },
      [](MessagesDayRecord& day) { day.meetups.reset(); },
      [](MessagesDayRecord& day) { day.meetups->pop_back(); },
      [](MessagesDayRecord& day) { day.birthday->age.reset(); },
      [](MessagesDayRecord& day) { day.birthday.reset(); },
  };
  for (const Change change : changes) {
    HelperDayNotes notes{{dayOf(kAnna, "2025-03-01", 100), dayOf(kSam, "2025-03-01", 100)}};
    MessagesDayRecord changed = notes.days[0];
    change(changed);
    EXPECT_EQ(notes.merge({changed, notes.days[1]}, Reread::incremental, kNoCutoff, kBoth), std::set<Uuid>{kAnna});
    EXPECT_EQ(notes.days.size(), 2u);
    EXPECT_EQ(std::count(notes.days.begin(), notes.days.end(), changed), 1);
  }
}

TEST(HelperDayNotesMerge, DropsDaysBeforeTheCutoffOldOrNew) {
  HelperDayNotes notes{{dayOf(kAnna, "2025-02-27", 1), dayOf(kSam, "2025-02-28", 2)}};
  const auto changed = notes.merge({dayOf(kSam, "2025-02-26", 3), dayOf(kSam, "2025-03-01", 4)}, Reread::incremental,
                                   "2025-02-28", kBoth);
  EXPECT_EQ(changed, kBoth);
  EXPECT_EQ(idsOf(notes), (std::vector<std::string>{kSam.toString() + "_2025-02-28", kSam.toString() + "_2025-03-01"}));
}

TEST(HelperDayNotesMerge, NewDayBeforeTheCutoffIsDroppedAndItsPersonNamed) {
  HelperDayNotes notes;
  EXPECT_EQ(notes.merge({dayOf(kSam, "2025-02-26", 3)}, Reread::full, "2025-02-28", kBoth), std::set<Uuid>{kSam});
  EXPECT_TRUE(notes.days.empty());
}

TEST(HelperDayNotesMerge, DropsDaysOfPeopleWhoAreNotCurrentWithoutNamingThem) {
  HelperDayNotes notes{{dayOf(kAnna, "2025-03-01", 1), dayOf(kSam, "2025-03-01", 2)}};
  EXPECT_TRUE(notes.merge({}, Reread::incremental, kNoCutoff, {kSam}).empty());
  EXPECT_EQ(idsOf(notes), std::vector<std::string>{kSam.toString() + "_2025-03-01"});
  EXPECT_TRUE(notes.merge({}, Reread::incremental, kNoCutoff, {}).empty());
  EXPECT_TRUE(notes.days.empty());
}

TEST(HelperDayNotesMerge, FullRereadDropsDaysThatWereNotHandedIn) {
  const HelperDayNotes before{
      {dayOf(kAnna, "2025-03-01", 1), dayOf(kAnna, "2025-03-02", 2), dayOf(kSam, "2025-03-01", 3)}};
  HelperDayNotes incremental = before;
  EXPECT_TRUE(incremental.merge({before.days[1]}, Reread::incremental, kNoCutoff, kBoth).empty());
  EXPECT_EQ(incremental, before);
  HelperDayNotes full = before;
  EXPECT_EQ(full.merge({before.days[1]}, Reread::full, kNoCutoff, kBoth), kBoth);
  EXPECT_EQ(full.days, std::vector<MessagesDayRecord>{before.days[1]});
}

TEST(HelperDayNotesMerge, SortsByTheLastMessageAndKeepsTheOrderOfEqualTimes) {
  HelperDayNotes notes{
      {dayOf(kSam, "2025-03-03", 300), dayOf(kSam, "2025-03-01", 100), dayOf(kAnna, "2025-03-01", 100)}};
  notes.merge({dayOf(kAnna, "2025-03-02", 100), dayOf(kAnna, "2025-02-01", 50)}, Reread::incremental, kNoCutoff, kBoth);
  EXPECT_EQ(idsOf(notes), (std::vector<std::string>{kAnna.toString() + "_2025-02-01", kSam.toString() + "_2025-03-01",
                                                    kAnna.toString() + "_2025-03-01", kAnna.toString() + "_2025-03-02",
                                                    kSam.toString() + "_2025-03-03"}));
}

// More ties than a sort without a rule for them happens to keep in order.
TEST(HelperDayNotesMerge, KeepsTheOrderOfManyEqualTimes) {
  HelperDayNotes notes;
  std::vector<std::string> expected = {kSam.toString() + "_2025-01-01"};
  for (int number = 0; number < 60; ++number) {
    notes.days.push_back(dayOf(kAnna, "day " + std::to_string(number * 37 % 60), 100));
    expected.push_back(notes.days.back().id());
  }
  notes.merge({dayOf(kSam, "2025-01-01", 50)}, Reread::incremental, kNoCutoff, kBoth);
  EXPECT_EQ(idsOf(notes), expected);
}

TEST(HelperDayNotesMerge, OfOneIdTheLaterRecordCounts) {
  HelperDayNotes notes{{dayOf(kAnna, "2025-03-01", 1), dayOf(kAnna, "2025-03-01", 2)}};
  notes.merge({}, Reread::incremental, kNoCutoff, kBoth);
  EXPECT_EQ(notes.days, std::vector<MessagesDayRecord>{dayOf(kAnna, "2025-03-01", 2)});
  EXPECT_EQ(notes.merge({dayOf(kAnna, "2025-03-01", 3), dayOf(kAnna, "2025-03-01", 4)}, Reread::full, kNoCutoff, kBoth),
            std::set<Uuid>{kAnna});
  EXPECT_EQ(notes.days, std::vector<MessagesDayRecord>{dayOf(kAnna, "2025-03-01", 4)});
}

TEST(HelperDayNotesMerge, SameDayOfTwoPeopleStaysTwoRecords) {
  HelperDayNotes notes;
  notes.merge({dayOf(kAnna, "2025-03-01", 1), dayOf(kSam, "2025-03-01", 1)}, Reread::full, kNoCutoff, kBoth);
  EXPECT_EQ(notes.days.size(), 2u);
}

TEST(HelperDayNotesMerge, ThousandsOfRecordsComeOutWholeAndSorted) {
  const std::vector<MessagesDayRecord> days = support::sampleDays(5000);
  std::set<Uuid> people;
  for (const MessagesDayRecord& day : days) people.insert(day.personID);
  std::vector<MessagesDayRecord> reversed(days.rbegin(), days.rend());
  HelperDayNotes notes;
  EXPECT_EQ(notes.merge(reversed, Reread::full, kNoCutoff, people), people);
  EXPECT_EQ(notes.days, days);
  EXPECT_TRUE(notes.merge(reversed, Reread::full, kNoCutoff, people).empty());
  EXPECT_EQ(notes.days, days);
}

}  // namespace
}  // namespace pellora
