#include <gtest/gtest.h>

#include <algorithm>

#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora {
namespace {

using support::kSecondsPerDay;

constexpr std::int64_t kFirstNoon = 1'795'262'400;  // 2026-11-21 12:00:00 UTC
const Instant kWrittenAt = instantAtSeconds(kFirstNoon + 40 * kSecondsPerDay);
const Uuid kPerson = *Uuid::parse("00000000-0000-0000-0000-0000000000AA");

Instant noon(int number) {
  return instantAtSeconds(kFirstNoon + number * kSecondsPerDay);
}

// The day `number` days after the first.
MessagesDayRecord day(int number) {
  MessagesDayRecord record;
  record.personID = kPerson;
  record.day = LocalCalendar::inTimeZone("UTC").dayString(noon(number));
  record.handle = "handle " + std::to_string(number);
  record.firstMessageAt = noon(number);
  record.lastMessageAt = noon(number) + std::chrono::minutes(10);
  record.sentCount = 2;
  record.receivedCount = 3;
  return record;
}

MessagesLatelyRecord build(std::vector<MessagesDayRecord> days, const char* zone = "UTC") {
  const auto record =
      MessagesLatelyRecord::build(std::move(days), 30, kWrittenAt, LocalCalendar::inTimeZone(zone), "Sam");
  EXPECT_TRUE(record);
  return record.value_or(MessagesLatelyRecord());
}

MessagesMeetup meetup(std::string what, Instant when) {
  return {std::move(what), when, false, when, std::nullopt};
}

MessagesBirthday birthday(std::optional<std::string> name, int number) {
  return {std::move(name), 11, 21, std::nullopt, noon(number)};
}

TEST(MessagesLatelyRecord, WithoutDaysThereIsNone) {
  EXPECT_FALSE(MessagesLatelyRecord::build({}, 30, kWrittenAt, LocalCalendar::inTimeZone("UTC"), "Sam"));
}

TEST(MessagesLatelyRecord, OneDayGivesItsTimesAndCounts) {
  MessagesLatelyRecord expected;
  expected.personID = kPerson;
  expected.handle = "handle 0";
  expected.windowDays = 30;
  expected.firstMessageAt = noon(0);
  expected.lastMessageAt = noon(0) + std::chrono::minutes(10);
  expected.lastTalkedAt = expected.lastMessageAt;
  expected.sentCount = 2;
  expected.receivedCount = 3;
  expected.dayCount = 1;
  expected.meetups.emplace();
  expected.birthdays.emplace();
  expected.writtenAt = kWrittenAt;
  MessagesDayRecord only = day(0);
  only.summary = "You and Anna talked.";
  EXPECT_EQ(build({only}), expected);
}

TEST(MessagesLatelyRecord, TellsTheWindowThatItWasMadeFor) {
  for (const std::int64_t window : {1, 7, 31})
    EXPECT_EQ(
        MessagesLatelyRecord::build({day(0)}, window, kWrittenAt, LocalCalendar::inTimeZone("UTC"), "Sam")->windowDays,
        window);
}

TEST(MessagesLatelyRecord, DaysMayComeInAnyOrder) {
  std::vector<MessagesDayRecord> days;
  for (const int number : {3, 0, 4, 1, 2}) days.push_back(day(number));
  const MessagesLatelyRecord record = build(days);
  EXPECT_EQ(record.handle, "handle 4");
  EXPECT_EQ(record.firstMessageAt, noon(0));
  EXPECT_EQ(record.lastMessageAt, noon(4) + std::chrono::minutes(10));
  EXPECT_EQ(record.sentCount, 10);
  EXPECT_EQ(record.receivedCount, 15);
  EXPECT_EQ(record.dayCount, 5);
  std::sort(days.begin(), days.end(), [](const auto& left, const auto& right) { return left.day < right.day; });
  EXPECT_EQ(build(days), record);
}

TEST(MessagesLatelyRecord, LastTalkedIsTheNewestDayOnWhichTheUserWrote) {
  std::vector<MessagesDayRecord> days = {day(0), day(1), day(2)};
  days[2].sentCount = 0;
  EXPECT_EQ(build(days).lastTalkedAt, noon(1) + std::chrono::minutes(10));
  days[0].sentCount = days[1].sentCount = 0;
  EXPECT_EQ(build(days).lastTalkedAt, std::nullopt);
  EXPECT_EQ(build(days).sentCount, 0);
}

TEST(MessagesLatelyRecord, ALinkKeepsTheDayOfItsFirstSending) {
  std::vector<MessagesDayRecord> days = {day(1), day(0)};
  days[0].sentURLs = {"http://c.com", "http://a.com"};
  days[1].sentURLs = {"http://b.com", "http://a.com"};
  const Instant first = noon(0) + std::chrono::minutes(10);
  const Instant second = noon(1) + std::chrono::minutes(10);
  EXPECT_EQ(build(days).sentLinks, (std::vector<MessagesLatelyRecord::SentLink>{
                                       {"http://b.com", first}, {"http://a.com", first}, {"http://c.com", second}}));
}

TEST(MessagesLatelyRecord, MeetupsAreOneADayInOrder) {
  std::vector<MessagesDayRecord> days = {day(0), day(1), day(2)};
  days[0].meetups = {meetup("lunch", noon(3)), meetup("film", noon(3))};
  days[1].meetups = {meetup("walk", noon(3)), meetup("coffee", noon(-2))};
  const auto meetups = build(days).meetups;
  ASSERT_TRUE(meetups);
  ASSERT_EQ(meetups->size(), 2U);
  EXPECT_EQ(meetups->at(0).what, "coffee");
  EXPECT_EQ(meetups->at(1).what, "lunch");
}

TEST(MessagesLatelyRecord, AMeetupsDayIsThatOfTheCalendar) {
  std::vector<MessagesDayRecord> days = {day(0)};
  days[0].meetups = {meetup("late", noon(0) + std::chrono::hours(11)),
                     meetup("early", noon(0) + std::chrono::hours(13))};
  EXPECT_EQ(build(days, "UTC").meetups->size(), 2U);
  EXPECT_EQ(build(days, "America/New_York").meetups->size(), 1U);
}

TEST(MessagesLatelyRecord, BirthdaysAreOneAName) {
  std::vector<MessagesDayRecord> days = {day(0), day(1), day(2), day(3), day(4), day(5)};
  days[0].birthday = birthday(std::nullopt, 0);
  days[1].birthday = birthday("Maya", 1);
  days[2].birthday = birthday(std::nullopt, 2);
  days[3].birthday = birthday("MAYA", -1);
  days[4].birthday = birthday("Ida", -5);
  EXPECT_EQ(build(days).birthdays,
            (std::vector<MessagesBirthday>{birthday("Ida", -5), birthday(std::nullopt, 0), birthday("Maya", 1)}));
  days[2].birthday = birthday("Jos\u00E9", 2);
  days[3].birthday = birthday("JOSE\u0301", 3);
  EXPECT_EQ(build(days).birthdays, (std::vector<MessagesBirthday>{birthday("Ida", -5), birthday(std::nullopt, 0),
                                                                  birthday("Maya", 1), birthday("Jos\u00E9", 2)}))
      << "spelled with and without combining marks";
}

// More ties than a sort without a rule for them happens to keep in order.
TEST(MessagesLatelyRecord, ManyDaysAndBirthdaysOfOneInstantComeInTheOrderOfTheirDays) {
  std::vector<MessagesDayRecord> days;
  std::vector<MessagesBirthday> birthdays;
  std::vector<std::string> wishDays;
  for (int number = 0; number < 60; ++number) {
    // Names against the order of the days, and days against the order in which they are handed in.
    const auto label = [](int place) { return std::to_string(1000 + place * 37 % 60); };
    MessagesDayRecord record = day(0);
    record.day = "day " + std::to_string(100 + number);
    record.birthday = birthday("Name " + label(number), 0);
    record.birthdayHint = true;
    birthdays.push_back(*record.birthday);
    wishDays.push_back(record.day);
    days.insert(number % 2 == 0 ? days.end() : days.begin(), std::move(record));
  }
  EXPECT_EQ(build(days).birthdays, birthdays);
  EXPECT_EQ(build(days).birthdayWishDays, wishDays);
}

TEST(MessagesLatelyRecord, WishDaysFollowTheHintAlone) {
  std::vector<MessagesDayRecord> days = {day(2), day(0), day(1)};
  days[0].birthdayHint = true;
  days[1].birthdayHint = true;
  days[2].birthday = birthday(std::nullopt, 1);
  EXPECT_EQ(build(days).birthdayWishDays, (std::vector<std::string>{"2026-11-21", "2026-11-23"}));
}

TEST(MessagesLatelyRecord, NewsComesOldestFirstWithoutRepeats) {
  const auto news = [](std::string sentence, int number) {
    return MessagesNews{std::move(sentence), MessagesNews::Kind::work, "", noon(number)};
  };
  std::vector<MessagesDayRecord> days = {day(1), day(0)};
  days[0].news = {news("Sam got a job at the bakery.", 1), news("Sam retired early.", 1)};
  days[1].news = {news("Sam got a job at the bakery.", 0)};
  EXPECT_EQ(build(days).news,
            (std::vector<MessagesNews>{news("Sam got a job at the bakery.", 0), news("Sam retired early.", 1)}));
}

}  // namespace
}  // namespace pellora
