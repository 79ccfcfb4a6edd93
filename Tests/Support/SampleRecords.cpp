#include "Tests/Support/SampleRecords.h"

namespace pellora::support {

namespace {

constexpr std::size_t kPeople = 30;

Uuid numberedPerson(std::size_t number) {
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t index = 0; index < bytes.size(); ++index)
    bytes[index] = static_cast<std::uint8_t>(number * 37 + index * 11);
  return Uuid(bytes);
}

std::string numberedDay(std::size_t number) {
  const std::string digits = std::to_string(10'000'000 + number);
  return digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6, 2);
}

}  // namespace

MessagesDayRecord sampleDay() {
  MessagesDayRecord day;
  day.personID = *Uuid::parse(kSamplePerson);
  day.day = "2025-03-01";
  day.handle = "+15551234567";
  day.firstMessageAt = instantAtSeconds(kSampleSecond);
  day.lastMessageAt = instantAtSeconds(kSampleSecond + 3600);
  day.sentCount = 12;
  day.receivedCount = 7;
  day.startedByMe = true;
  day.waitingOnYou = true;
  day.sentURLs = {"https://example.com/a/b?c=d&e=%20", "http://\u00FC.example/"};
  day.birthdayHint = true;
  day.summary = "Sam is \"moving\"\tto Z\u00FCrich \U0001F389";
  day.news = {{"Sam got the job.", MessagesNews::Kind::work, "next week", instantAtSeconds(kSampleSecond)}};
  day.meetups = {
      {"dinner", instantAtSeconds(kSampleSecond), true, instantAtSeconds(kSampleSecond), "thanks for dinner"},
      {"", instantAtSeconds(kSampleSecond), false, instantAtSeconds(kSampleSecond), std::nullopt}};
  day.birthday = {"Maya", 3, 1, 31, instantAtSeconds(kSampleSecond)};
  return day;
}

std::vector<MessagesDayRecord> sampleDays(std::size_t count) {
  std::vector<MessagesDayRecord> days(count);
  for (std::size_t number = 0; number < count; ++number) {
    MessagesDayRecord& day = days[number];
    day.personID = numberedPerson(number % kPeople);
    day.day = numberedDay(number / kPeople);
    day.handle = "+1555" + std::to_string(1'000'000 + number % kPeople);
    day.firstMessageAt = instantAtSeconds(kSampleSecond + static_cast<std::int64_t>(number) * 60);
    day.lastMessageAt = instantAtSeconds(kSampleSecond + static_cast<std::int64_t>(number) * 60 + 7200);
    day.sentCount = static_cast<std::int64_t>(number % 40);
    day.receivedCount = static_cast<std::int64_t>(number % 23);
    day.meetups.emplace();
    day.summary = "Sam is looking forward to the weekend and asked about the tickets.";
    if (number % 5 == 0) day.sentURLs = {"https://example.com/articles/" + std::to_string(number)};
    if (number % 20 == 0) day.news = {{"Sam got the job.", MessagesNews::Kind::work, "", day.lastMessageAt}};
  }
  return days;
}

MessagesLatelyRecord sampleLately() {
  const MessagesDayRecord day = sampleDay();
  MessagesLatelyRecord record;
  record.personID = day.personID;
  record.handle = day.handle;
  record.firstMessageAt = day.firstMessageAt;
  record.lastMessageAt = day.lastMessageAt;
  record.lastTalkedAt = day.lastMessageAt;
  record.sentCount = day.sentCount;
  record.receivedCount = day.receivedCount;
  record.dayCount = 1;
  record.summary = day.summary;
  record.news = day.news;
  record.meetups = day.meetups;
  record.birthdays = {*day.birthday};
  record.sentLinks = {{"https://example.com/", day.lastMessageAt}};
  record.birthdayWishDays = {"2025-03-01"};
  record.writtenAt = instantAtSeconds(kSampleSecond + 7200);
  return record;
}

HelperState sampleState() {
  const Instant now = instantAtSeconds(kSampleSecond);
  const Uuid person = *Uuid::parse(kSamplePerson);
  HelperState state;
  state.notesVersion = 9;
  state.lastRead =
      LastReadMark{now, 4711, "p:0/AB-12 1740821400", "0123abcd", "2025-03-01", "Europe/Berlin", "af63dc4c8601ec8c"};
  state.analyzed = sampleDays(3);
  state.waiting = {{sampleDay(), true, false, true, 2, now}};
  state.lately = {{person, "Write a summary", "<days>\nMar 1: You and Sam", "Lately you and Sam", true, 0, now},
                  {person, "Write", "<days>", std::nullopt, false, 1, now}};
  state.askAgain = {sampleDay().id()};
  state.model = {84, "answered 500", now, now, {3, 4000, 120, 9500, 1}, {30, 40'000, 1200, 95'000, 10}};
  state.progress = ReadProgress{now, 3, 84};
  return state;
}

}  // namespace pellora::support
