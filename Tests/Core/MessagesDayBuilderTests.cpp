#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora {
namespace {

using support::kSecondsPerDay;

constexpr std::int64_t kSecondsPerHour = 3'600;
constexpr std::int64_t kNoon = 1'795'262'400;  // 2026-11-21 12:00:00 UTC

constexpr std::int64_t kAnnaPhone = 1;  // chats
constexpr std::int64_t kAnnaMail = 2;
constexpr std::int64_t kBen = 3;
constexpr std::int64_t kGroup = 4;
constexpr std::int64_t kStranger = 5;
constexpr std::int64_t kNobody = 6;
constexpr std::int64_t kShared = 7;
constexpr std::int64_t kUnknownChat = 99;

const Uuid kAnnaID = *Uuid::parse("00000000-0000-0000-0000-0000000000AA");
const Uuid kBenID = *Uuid::parse("00000000-0000-0000-0000-0000000000BB");

std::vector<HelperPerson> people() {
  std::vector<HelperPerson> list;
  list.push_back({kAnnaID, "Anna", {"5550000001", "5550000009"}, {"anna@example.com"}});
  list.push_back({kBenID, "Ben", {"5550000002", "5550000009"}, {}});
  return list;
}

const ChatParticipants kChats = {
    {kAnnaPhone, {"+15550000001"}}, {kAnnaMail, {"Anna@Example.com"}},
    {kBen, {"+1 (555) 000-0002"}},  {kGroup, {"+15550000001", "+15550000002"}},
    {kStranger, {"+15551111111"}},  {kNobody, {}},
    {kShared, {"+15550000009"}},
};

HistoryMessage message(std::int64_t rowID, std::int64_t seconds, bool isFromMe, std::string text,
                       std::int64_t chat = kAnnaPhone) {
  return {rowID, instantAtSeconds(seconds), isFromMe, std::move(text), chat};
}

std::vector<MessagesDayDraft> drafts(std::vector<HistoryMessage> messages, const char* zone = "UTC") {
  const HandleMatcher matcher(people());
  return MessagesDayBuilder::drafts(std::move(messages), kChats, matcher, matcher.firstNames(),
                                    LocalCalendar::inTimeZone(zone));
}

MessagesDayRecord onlyRecord(std::vector<HistoryMessage> messages, const char* zone = "UTC") {
  const auto all = drafts(std::move(messages), zone);
  EXPECT_EQ(all.size(), 1U);
  return all.empty() ? MessagesDayRecord() : all[0].record;
}

TEST(MessagesDayBuilder, ADayIsCountedAndDescribed) {
  const auto all = drafts({message(1, kNoon, true, "hello"), message(2, kNoon + 60, false, "hi"),
                           message(3, kNoon + 120, false, "how are you?")});
  ASSERT_EQ(all.size(), 1U);
  MessagesDayRecord expected;
  expected.personID = kAnnaID;
  expected.day = "2026-11-21";
  expected.handle = "+15550000001";
  expected.firstMessageAt = instantAtSeconds(kNoon);
  expected.lastMessageAt = instantAtSeconds(kNoon + 120);
  expected.sentCount = 1;
  expected.receivedCount = 2;
  expected.startedByMe = true;
  expected.waitingOnYou = true;
  EXPECT_EQ(all[0].record, expected);
  EXPECT_EQ(all[0].record.id(), "00000000-0000-0000-0000-0000000000AA_2026-11-21");
  EXPECT_EQ(all[0].lines, (std::vector<MessageLine>{{true, "hello"}, {false, "hi"}, {false, "how are you?"}}));
}

TEST(MessagesDayBuilder, OnlyOneToOneChatsOfKnownPeopleCount) {
  EXPECT_TRUE(drafts({message(1, kNoon, true, "a", kGroup), message(2, kNoon, false, "b", kStranger),
                      message(3, kNoon, false, "c", kNobody), message(4, kNoon, false, "d", kUnknownChat),
                      message(5, kNoon, false, "e", kShared)})
                  .empty());
  EXPECT_TRUE(drafts({}).empty());
}

TEST(MessagesDayBuilder, NumberAndAddressOfAPersonShareADayUnderTheFirstMessagesHandle) {
  // The later message comes first.
  const auto all = drafts({message(2, kNoon + 5, false, "later", kAnnaMail), message(1, kNoon, true, "earlier")});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].record.handle, "Anna@Example.com");
  EXPECT_EQ(all[0].lines, (std::vector<MessageLine>{{true, "earlier"}, {false, "later"}}));
  EXPECT_EQ(all[0].record.sentCount + all[0].record.receivedCount, 2);
}

TEST(MessagesDayBuilder, ARowInTwoChatsOfAPersonCountsOnce) {
  const auto all = drafts({message(1, kNoon, false, "one", kAnnaPhone), message(1, kNoon, false, "one", kAnnaMail),
                           message(2, kNoon, true, "two", kAnnaMail), message(2, kNoon, true, "two", kAnnaPhone),
                           message(1, kNoon, false, "one", kBen)});
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].lines, (std::vector<MessageLine>{{false, "one"}, {true, "two"}}));
  EXPECT_EQ(all[0].record.receivedCount, 1);
  EXPECT_EQ(all[0].record.handle, "+15550000001");
  EXPECT_EQ(all[1].record.personID, kBenID);
}

TEST(MessagesDayBuilder, LinesAreOrderedByTimeThenRow) {
  const auto all = drafts({message(9, kNoon, true, "d"), message(3, kNoon, true, "b"), message(4, kNoon, false, "c"),
                           message(50, kNoon - 1, false, "a")});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].lines, (std::vector<MessageLine>{{false, "a"}, {true, "b"}, {false, "c"}, {true, "d"}}));
  EXPECT_FALSE(all[0].record.startedByMe);
}

TEST(MessagesDayBuilder, FractionsOfASecondOrderLines) {
  std::vector<HistoryMessage> messages = {message(1, kNoon, true, "b"), message(2, kNoon, true, "a")};
  messages[0].date += Nanoseconds(2);
  messages[1].date += Nanoseconds(1);
  EXPECT_EQ(drafts(messages)[0].lines, (std::vector<MessageLine>{{true, "a"}, {true, "b"}}));
  EXPECT_EQ(drafts(messages)[0].record.lastMessageAt, instantAtSeconds(kNoon) + Nanoseconds(2));
}

TEST(MessagesDayBuilder, AReplyIsOwedWhenTheirLastTextEndsInAQuestionMark) {
  struct Case {
    const char* text;
    bool isFromMe;
    bool isOwed;
  };
  const std::vector<Case> cases = {
      {"lunch?", false, true},
      {"lunch? \n", false, true},
      {"lunch?\u00A0\u200B", false, true},
      {"lunch?!", false, false},
      {"lunch", false, false},
      {"lunch? yes", false, false},
      {"lunch?", true, false},
      {"?", false, true},
      {"lunch\uFF1F", false, false},
      {"lunch?\u0301", false, false},
      {"lunch??", false, true},
      {" \n ", false, false},
      {"\U0001F468\u200D\U0001F469\u200D\U0001F467?", false, true},
      {"lunch?\U0001F600", false, false},
  };
  for (const Case& each : cases)
    EXPECT_EQ(
        onlyRecord({message(1, kNoon, false, "hey?"), message(2, kNoon + 1, each.isFromMe, each.text)}).waitingOnYou,
        each.isOwed)
        << each.text;
}

TEST(MessagesDayBuilder, DaysAreThoseOfTheTimeZone) {
  // 05:00 UTC is midnight in New York.
  const std::int64_t midnight = kNoon - 7 * kSecondsPerHour;
  const auto all = drafts({message(1, midnight - 1, true, "a"), message(2, midnight, true, "b")}, "America/New_York");
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].record.day, "2026-11-20");
  EXPECT_EQ(all[1].record.day, "2026-11-21");
  EXPECT_EQ(drafts({message(1, midnight - 1, true, "a"), message(2, midnight, true, "b")}).size(), 1U);
}

TEST(MessagesDayBuilder, ADayOfTwentyFiveHoursIsOneDay) {
  const std::int64_t start = 1'793'505'600;  // 2026-11-01 00:00 in New York, clocks go back at 02:00
  const auto all = drafts(
      {message(1, start, true, "a"), message(2, start + 90 * 60, true, "b"), message(3, start + 150 * 60, true, "c"),
       message(4, start + 25 * kSecondsPerHour - 1, true, "d"), message(5, start + 25 * kSecondsPerHour, true, "e")},
      "America/New_York");
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].record.day, "2026-11-01");
  EXPECT_EQ(all[0].record.sentCount, 4);
  EXPECT_EQ(all[1].record.day, "2026-11-02");
}

TEST(MessagesDayBuilder, LinksAreTheUsersOwnWebAddressesOnceEach) {
  const MessagesDayRecord record = onlyRecord({
      message(1, kNoon, true, "http://a.com and joe@example.com and tel:5550100"),
      message(2, kNoon + 1, false, "http://theirs.com"),
      message(3, kNoon + 2, true, "HTTPS://b.com/x, again http://a.com, ftp://c.com"),
      message(4, kNoon + 3, true, "example.org. ok.so"),
  });
  EXPECT_EQ(record.sentURLs, (std::vector<std::string>{"http://a.com", "HTTPS://b.com/x", "http://example.org"}));
  EXPECT_EQ(MessagesDayBuilder::links({}), std::vector<std::string>());
  EXPECT_EQ(MessagesDayBuilder::links({"b.com", "a.com b.com"}),
            (std::vector<std::string>{"http://b.com", "http://a.com"}));
}

TEST(MessagesDayBuilder, GreetingsOfTheUserHintAtABirthday) {
  const MessagesDayRecord theirs = onlyRecord({message(1, kNoon, false, "happy birthday")});
  EXPECT_FALSE(theirs.birthdayHint);
  EXPECT_FALSE(theirs.birthday);

  const MessagesDayRecord mine =
      onlyRecord({message(1, kNoon - 5, false, "hi"), message(2, kNoon, true, "Happy birthday Anna!"),
                  message(3, kNoon + 9, false, "I\u2019m 31 today")});
  EXPECT_TRUE(mine.birthdayHint);
  EXPECT_EQ(mine.birthday, (MessagesBirthday{std::nullopt, 11, 21, 31, instantAtSeconds(kNoon - 5)}));

  const MessagesDayRecord belated = onlyRecord({message(1, kNoon, true, "Happy belated birthday")});
  EXPECT_TRUE(belated.birthdayHint);
  EXPECT_FALSE(belated.birthday);
}

TEST(MessagesDayBuilder, ANamelessPersonsGreetingNamesSomeoneElse) {
  const HandleMatcher matcher(people());
  const auto all = MessagesDayBuilder::drafts({message(1, kNoon, true, "Happy birthday Anna!")}, kChats, matcher, {},
                                              LocalCalendar::inTimeZone("UTC"));
  ASSERT_TRUE(all.at(0).record.birthday);
  EXPECT_EQ(all[0].record.birthday->name, "Anna");
}

TEST(MessagesDayBuilder, DraftsComeOldestLastMessageFirstAndStable) {
  const auto all =
      drafts({message(1, kNoon, true, "a", kBen), message(2, kNoon, true, "b", kAnnaPhone),
              message(3, kNoon - kSecondsPerDay, true, "c", kAnnaPhone), message(4, kNoon + 1, true, "d", kBen)});
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].record.day, "2026-11-20");
  EXPECT_EQ(all[1].record.personID, kAnnaID);
  EXPECT_EQ(all[2].record.personID, kBenID);
  const auto ties = drafts({message(1, kNoon, true, "a", kBen), message(2, kNoon, true, "b", kAnnaPhone)});
  EXPECT_EQ(ties[0].record.personID, kBenID);
}

// More ties than a sort without a rule for them happens to keep in order.
TEST(MessagesDayBuilder, ManyDaysThatEndAtOneInstantStayInTheOrderOfTheirFirstRows) {
  std::vector<HelperPerson> known;
  ChatParticipants chats;
  std::vector<HistoryMessage> messages;
  std::vector<std::string> expected;
  for (std::int64_t number = 0; number < 60; ++number) {
    const std::int64_t chat = 1 + number * 37 % 60;
    const std::string phone = std::to_string(5'550'000'000 + chat);
    known.push_back({Uuid::random(), "P", {phone}, {}});
    chats[chat] = {phone};
    messages.push_back(message(100 + number, kNoon, true, "a", chat));
    expected.push_back(phone);
  }
  const HandleMatcher matcher(known);
  std::vector<std::string> handles;
  for (const MessagesDayDraft& draft :
       MessagesDayBuilder::drafts(messages, chats, matcher, {}, LocalCalendar::inTimeZone("UTC")))
    handles.push_back(draft.record.handle);
  EXPECT_EQ(handles, expected);
}

TEST(MessagesDayBuilder, ManyLinesOfOneInstantAreOrderedByRow) {
  std::vector<HistoryMessage> messages;
  for (std::int64_t number = 0; number < 60; ++number) {
    const std::int64_t row = 1 + number * 37 % 60;
    messages.push_back(message(row, kNoon, true, std::to_string(row)));
  }
  const auto all = drafts(messages);
  ASSERT_EQ(all.size(), 1U);
  ASSERT_EQ(all[0].lines.size(), 60U);
  for (std::size_t line = 0; line < 60; ++line) EXPECT_EQ(all[0].lines[line].text, std::to_string(line + 1));
}

TEST(MessagesDayBuilder, AnyOrderOfRowsGivesTheSameDays) {
  std::vector<HistoryMessage> messages;
  std::mt19937 random(5);
  for (std::int64_t row = 1; row <= 2'000; ++row)
    messages.push_back(message(row, kNoon + static_cast<std::int64_t>(random() % (9 * kSecondsPerDay)),
                               random() % 2 == 0, "text " + std::to_string(row),
                               random() % 2 == 0 ? kBen : kAnnaPhone));
  const auto expected = drafts(messages);
  std::shuffle(messages.begin(), messages.end(), random);
  const auto shuffled = drafts(messages);
  ASSERT_EQ(shuffled.size(), expected.size());
  for (std::size_t index = 0; index < expected.size(); ++index) {
    EXPECT_EQ(shuffled[index].record, expected[index].record);
    EXPECT_EQ(shuffled[index].lines, expected[index].lines);
  }
}

TEST(MessagesDayBuilder, ChatSpanIsTheChatsAndTheEarliestDaysStart) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("America/New_York");
  EXPECT_FALSE(MessagesDayBuilder::chatSpan({}, calendar));
  const auto span = MessagesDayBuilder::chatSpan(
      {message(1, kNoon, true, "a", kBen), message(2, kNoon - 10 * kSecondsPerHour, true, "b", kGroup),
       message(3, kNoon + 1, true, "c", kBen), message(4, kNoon, true, "d", kUnknownChat)},
      calendar);
  ASSERT_TRUE(span);
  EXPECT_EQ(span->chats, (std::set<std::int64_t>{kBen, kGroup, kUnknownChat}));
  EXPECT_EQ(span->since, instantAtSeconds(kNoon - 31 * kSecondsPerHour));
}

TEST(MessagesDayBuilder, DatesFarOutsideAreSafe) {
  std::vector<HistoryMessage> messages = {message(1, 0, true, "a"), message(2, 0, true, "b")};
  messages[0].date = Instant::min();
  messages[1].date = Instant::max();
  const auto all = drafts(messages);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].record.day, "0001-01-01");
  EXPECT_EQ(all[1].record.day, "9999-12-31");
}

}  // namespace
}  // namespace pellora
