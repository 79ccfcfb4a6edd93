#include "Tests/Companion/CompanionWorld.h"

#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora::support {

const HelperPerson& CompanionWorld::anna() {
  static const HelperPerson person{
      *Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10"), "Anna", {"5551234567"}, {"anna@example.org"}};
  return person;
}

const HelperPerson& CompanionWorld::bob() {
  static const HelperPerson person{*Uuid::parse("0B0B0B0B-0000-4000-8000-000000000002"), "Bob", {"5559876543"}, {}};
  return person;
}

MessagesLatelyRecord CompanionWorld::record(const HelperPerson& person, std::int64_t talkedSecondsAgo) {
  const Instant talked = instantAtSeconds(kNow - talkedSecondsAgo);
  MessagesLatelyRecord record;
  record.personID = person.id;
  record.handle = "+1" + person.phones.front();
  record.firstMessageAt = instantAtSeconds(kNow - 20 * 86'400);
  record.lastMessageAt = talked;
  record.lastTalkedAt = talked;
  record.sentCount = 12;
  record.receivedCount = 34;
  record.dayCount = 5;
  record.summary = person.firstName + " is looking forward to the concert.";
  record.news = {{person.firstName + " starts a new job.", MessagesNews::Kind::work, "in March", talked}};
  record.meetups = {{"dinner at the harbour", talked, true, talked, std::nullopt}};
  record.birthdays = {{std::nullopt, 5, 12, 30, talked}};
  record.sentLinks = {{"https://example.org/a?b=1&c=2", talked}};
  record.writtenAt = instantAtSeconds(kNow);
  return record;
}

CompanionContext CompanionWorld::context() {
  return {_secrets,
          shared(),
          _folder.path(),
          instantAtSeconds(kNow),
          LocalCalendar::inTimeZone("UTC"),
          {},
          _folder / "settings",
          shared() / "chat.db"};
}

ExchangeKey CompanionWorld::key() {
  return *ExchangeKeychain::loadOrCreate(_secrets);
}

void CompanionWorld::writePeople(std::vector<HelperPerson> people) {
  HelperPeopleFile{instantAtSeconds(kNow), std::move(people)}.write(key(), shared());
}

void CompanionWorld::writeLately(const MessagesLatelyRecord& record) {
  MessagesLatelyInbox::write(key(), shared(), record);
}

void CompanionWorld::writeNotes(const HelperDayNotes& notes) {
  notes.save(key(), shared());
}

std::vector<HelperPerson> CompanionWorld::readPeople() {
  const auto file = HelperPeopleFile::read(key(), shared());
  return file ? file->people : std::vector<HelperPerson>();
}

}  // namespace pellora::support
