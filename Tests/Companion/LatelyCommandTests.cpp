// `lately`: what it shows, of whom, in which order.
#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "Companion/Commands/Commands.h"
#include "Companion/Lately/LatelyStore.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {

namespace {

using support::CompanionWorld;
using support::failureOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Json = nlohmann::json;

TEST(LatelyCommand, TheOverviewBeginsWithWhomOneTalkedToLast) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 3600));
  const std::string output = LatelyCommand().run(world.context()).output;
  EXPECT_THAT(output, HasSubstr("1 hour ago"));
  EXPECT_LT(output.find(CompanionWorld::bob().id.toString()), output.find("Anna"));
}

TEST(LatelyCommand, PeopleWhoWereNeverWrittenToComeLast) {
  CompanionWorld world;
  MessagesLatelyRecord silent = CompanionWorld::record(CompanionWorld::bob(), 60);
  silent.lastTalkedAt.reset();
  world.writeLately(silent);
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  const auto store = LatelyStore::read(world.context(), world.key());
  ASSERT_THAT(store.records, SizeIs(2));
  EXPECT_EQ(store.records[1].record.personID, CompanionWorld::bob().id);
}

TEST(LatelyCommand, JsonIsTheExchangeFormWithTheName) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  const MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 7200);
  world.writeLately(record);
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 9000));
  Json one = Json::parse(LatelyCommand{"anna", true, {}}.run(world.context()).output);
  EXPECT_EQ(one["name"], "Anna");
  one.erase("name");
  EXPECT_EQ(one, Json::parse(ExchangeCoding::encode(record)));
  const Json all = Json::parse(LatelyCommand{std::nullopt, true, {}}.run(world.context()).output);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_TRUE(all[1]["name"].is_null());
}

TEST(LatelyCommand, ControlCharactersOfARecordReachNoTerminal) {
  CompanionWorld world;
  MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 7200);
  record.summary =
      "a\x1B]0;title\x07\xC2\x9B"
      "31mb\x7F";
  record.sentLinks = {{"https://example.org/\x1B[2J", record.lastMessageAt}};
  world.writeLately(record);
  const std::string id = CompanionWorld::anna().id.toString();
  for (const auto& output :
       {LatelyCommand().run(world.context()).output, LatelyCommand{id, false, {}}.run(world.context()).output,
        LatelyCommand{id, true, {}}.run(world.context()).output}) {
    EXPECT_THAT(output, Not(HasSubstr("\x1B")));
    EXPECT_THAT(output, Not(HasSubstr("\x7F")));
    EXPECT_THAT(output, Not(HasSubstr("\xC2\x9B")));
  }
  EXPECT_EQ(Json::parse(LatelyCommand{id, true, {}}.run(world.context()).output)["summary"], *record.summary);
}

TEST(LatelyCommand, OnePersonsPageHasEverything) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  MessagesDayRecord day;
  day.personID = CompanionWorld::anna().id;
  day.day = "2026-11-20";
  day.firstMessageAt = day.lastMessageAt = instantAtSeconds(CompanionWorld::kNow - 86'400);
  day.sentCount = 8;
  day.receivedCount = 1;
  world.writeNotes({{day}});
  const std::string output = LatelyCommand{"ANNA", false, {}}.run(world.context()).output;
  for (const char* part : {"Anna  +15551234567", "The last message was 2 hours ago; you last wrote today. Anna began",
                           "12 sent and 34 received on 5 days of 30.", "Anna is looking forward to the concert.",
                           "Anna starts a new job. (in March) [work]", "dinner at the harbour", "12 May",
                           "Anna's birthday, 30 years old", "https://example.org/a?b=1&c=2", "█·\n", "▁·\n", "23 Oct"})
    EXPECT_THAT(output, HasSubstr(part));
}

TEST(LatelyCommand, SaysWhoIsMeantWhenTheNameIsNotClear) {
  CompanionWorld world;
  HelperPerson otherAnna = CompanionWorld::bob();
  otherAnna.firstName = "anna";
  world.writePeople({CompanionWorld::anna(), otherAnna});
  const std::string ambiguous = failureOf(LatelyCommand{"Anna", false, {}}, world.context());
  EXPECT_THAT(ambiguous, HasSubstr(CompanionWorld::anna().id.toString()));
  EXPECT_THAT(ambiguous, HasSubstr(otherAnna.id.toString()));
  EXPECT_THAT(failureOf(LatelyCommand{"Zoe", false, {}}, world.context()),
              HasSubstr("nobody called \"Zoe\"; there are Anna and anna"));
  EXPECT_THAT(failureOf(LatelyCommand{"anna@example.org", false, {}}, world.context()),
              HasSubstr("no lately record of Anna yet"));
}

TEST(LatelyCommand, FindsAPersonByEveryHandle) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 7200));
  for (const char* wanted : {"anna", "+1 (555) 123-4567", "ANNA@example.org", "6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10"})
    EXPECT_EQ(Json::parse(LatelyCommand{wanted, true, {}}.run(world.context()).output)["name"], "Anna") << wanted;
  const Json left = Json::parse(LatelyCommand{"5559876543", true, {}}.run(world.context()).output);
  EXPECT_EQ(left["personID"], CompanionWorld::bob().id.toString());
}

TEST(LatelyCommand, MakesNoFolderForThePage) {
  CompanionWorld world;
  world.key();
  AtomicFile::write(world.shared() / "file", "x");
  const std::string missing = world.shared() / "no/where/page.html";
  EXPECT_EQ(failureOf(LatelyCommand{std::nullopt, false, missing}, world.context()),
            "Cannot write " + missing + ": No such file or directory.");
  EXPECT_FALSE(std::filesystem::exists(world.shared() / "no"));
  const std::string below = world.shared() / "file/page.html";
  EXPECT_THAT(failureOf(LatelyCommand{std::nullopt, false, below}, world.context()),
              HasSubstr("Cannot write " + below));
}

std::string pageAbout(const std::string& person, CompanionWorld& world) {
  return LatelyCommand{person, false, {}}.run(world.context()).output;
}

MessagesDayRecord dayOf(const HelperPerson& person, std::int64_t secondsAgo, bool isWaiting) {
  MessagesDayRecord day;
  day.personID = person.id;
  day.firstMessageAt = day.lastMessageAt = instantAtSeconds(CompanionWorld::kNow - secondsAgo);
  day.day = LocalCalendar::inTimeZone("UTC").dayString(day.lastMessageAt);
  day.receivedCount = 1;
  day.startedByMe = !isWaiting;
  day.waitingOnYou = isWaiting;
  return day;
}

std::vector<std::string> titlesOf(const LatelyStore& store) {
  std::vector<std::string> titles;
  for (const NamedLately& lately : store.records) titles.push_back(lately.title());
  return titles;
}

TEST(LatelyCommand, TellsWhoBeganAndWhoWaitsSinceWhen) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 3 * CompanionWorld::kDay));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 7200));
  // The newest day tells, wherever it lies in the notes.
  world.writeNotes(
      {{dayOf(CompanionWorld::anna(), 3 * CompanionWorld::kDay, true),
        dayOf(CompanionWorld::anna(), 5 * CompanionWorld::kDay, false), dayOf(CompanionWorld::bob(), 7200, false)}});
  const std::string overview = LatelyCommand().run(world.context()).output;
  EXPECT_THAT(overview, HasSubstr("Anna    3 days ago    they   18 Nov"));
  EXPECT_THAT(overview, HasSubstr("\n    Waiting for your reply since 18 Nov.\n"));
  EXPECT_THAT(overview, HasSubstr("Bob     2 hours ago   you    today"));
  EXPECT_THAT(pageAbout("anna", world), AllOf(HasSubstr("Anna began on 18 Nov."),
                                              HasSubstr("Anna has been waiting for your reply since 18 Nov.")));
  EXPECT_THAT(pageAbout("bob", world), AllOf(HasSubstr("You began today."), Not(HasSubstr("waiting"))));
}

TEST(LatelyStore, WhoeverWaitsLongestComesFirstAndWhoeverIsQuietLast) {
  CompanionWorld world;
  std::vector<HelperPerson> people;
  for (const char* name : {"Quiet", "Talker", "Asked yesterday", "Asked last week"}) {
    HelperPerson person = CompanionWorld::bob();
    person.id = *Uuid::parse("0B0B0B0B-0000-4000-8000-00000000000" + std::to_string(people.size()));
    person.firstName = name;
    people.push_back(person);
  }
  world.writePeople(people);
  world.writeLately(CompanionWorld::record(people[0], 31 * CompanionWorld::kDay));
  world.writeLately(CompanionWorld::record(people[1], 60));
  world.writeLately(CompanionWorld::record(people[2], CompanionWorld::kDay));
  world.writeLately(CompanionWorld::record(people[3], 7 * CompanionWorld::kDay));
  LatelyStore store = LatelyStore::read(world.context(), world.key());
  const HelperDayNotes notes{{dayOf(people[3], 7 * CompanionWorld::kDay, true),
                              dayOf(people[2], CompanionWorld::kDay, true),
                              dayOf(people[0], 31 * CompanionWorld::kDay, true)}};
  store.addNotes(notes, world.context().now);
  EXPECT_THAT(titlesOf(store), ElementsAre("Asked last week", "Asked yesterday", "Talker", "Quiet"));
}

TEST(LatelyCommand, ASummaryHasLinesOfItsOwnAndIsNotCut) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 7200);
  record.summary = "Lately you and Anna have been talking about the concert, the new flat by the harbour and her knee.";
  world.writeLately(record);
  CompanionContext context = world.context();
  context.style.width = 80;
  EXPECT_THAT(LatelyCommand().run(context).output,
              HasSubstr("\n    Lately you and Anna have been talking about the concert, the new flat by the\n"
                        "    harbour and her knee.\n"));
  EXPECT_THAT(LatelyCommand().run(world.context()).output, HasSubstr("\n    " + *record.summary + "\n"));
}

TEST(LatelyCommand, ARecordOutsideItsWindowIsShownAsNothing) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 30 * CompanionWorld::kDay + 1));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 30 * CompanionWorld::kDay));
  const std::string overview = LatelyCommand().run(world.context()).output;
  EXPECT_THAT(overview, HasSubstr("\nAnna    4 weeks ago\n    Nothing in the last 30 days.\n"));
  EXPECT_THAT(overview, HasSubstr("\nBob     4 weeks ago          22 Oct            12        34     5\n"));
  const std::string page = pageAbout("anna", world);
  EXPECT_EQ(page, "Anna  +15551234567\nNothing in the last 30 days. The last message was 4 weeks ago.\n");
}

TEST(LatelyCommand, ARecordOfMessagesThatAreGoneIsShownWithAWarning) {
  constexpr char kWarning[] = "no longer in the store";
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), CompanionWorld::kDay));
  EXPECT_THAT(pageAbout("anna", world), Not(HasSubstr(kWarning))) << "without notes nobody knows";
  HelperDayNotes notes{{dayOf(CompanionWorld::bob(), CompanionWorld::kDay, false)}};
  notes.save(world.key(), world.context().folder);
  EXPECT_THAT(pageAbout("anna", world), HasSubstr(kWarning));
  EXPECT_THAT(LatelyCommand().run(world.context()).output, HasSubstr(kWarning));
  notes.days.push_back(dayOf(CompanionWorld::anna(), CompanionWorld::kDay, false));
  notes.save(world.key(), world.context().folder);
  EXPECT_THAT(pageAbout("anna", world), Not(HasSubstr(kWarning)));
}

// Old files put back in the place of newer ones.

constexpr char kWarning[] = "This record is older than one shown before";

class ShownRecords : public testing::Test {
 protected:
  void write(std::int64_t writtenSecondsAgo) {
    MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 7200);
    record.writtenAt = instantAtSeconds(CompanionWorld::kNow - writtenSecondsAgo);
    world.writeLately(record);
  }

  std::string shown() { return LatelyCommand().run(world.context()).output; }

  CompanionWorld world;
};

TEST_F(ShownRecords, AnOlderRecordIsShownWithAWarningUntilANewerOneComes) {
  world.writePeople({CompanionWorld::anna()});
  write(CompanionWorld::kDay);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning))) << "the same one again";
  write(2 * CompanionWorld::kDay);
  EXPECT_THAT(shown(), HasSubstr("it was written on 19 Nov, the other on 20 Nov"));
  EXPECT_THAT(shown(), HasSubstr(kWarning)) << "having been shown does not make it new";
  EXPECT_THAT((LatelyCommand{"Anna", false, {}}.run(world.context()).output), HasSubstr(kWarning));
  EXPECT_THAT((LatelyCommand{{}, false, "-"}.run(world.context()).output), HasSubstr(kWarning));
  EXPECT_THAT((LatelyCommand{"Anna", true, {}}.run(world.context()).output),
              HasSubstr("\"olderThanShown\":\"2026-11-20T12:00:00Z\""));
  write(CompanionWorld::kDay - 1);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, ARecordFromTheFutureDoesNotMakeTheNextOneOld) {
  write(-400 * CompanionWorld::kDay);
  shown();
  write(0);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, WhatWasShownIsSealedAndItsLossCostsOnlyTheWarning) {
  write(CompanionWorld::kDay);
  shown();
  const auto file = *world.context().settings / "shown.json";
  EXPECT_TRUE(AtomicFile::read(file)->starts_with("PMX1"));
  AtomicFile::write(file, "damaged");
  write(2 * CompanionWorld::kDay);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, AFolderThatCannotBeWrittenKeepsNobodyFromSeeingTheRecords) {
  AtomicFile::write(*world.context().settings, "a file in the folder's place");
  write(CompanionWorld::kDay);
  EXPECT_THAT(shown(), HasSubstr("concert"));
}

}  // namespace

}  // namespace pellora
