// The keys of every record of the exchange files, in one table a type that the encoder and the decoder share. Keys
// stand in byte order. A field whose type is optional may be missing. For ExchangeEncoding.cpp and
// ExchangeDecoding.cpp only.
#pragma once

#include <concepts>
#include <string_view>
#include <type_traits>

#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperHeartbeat.h"
#include "PelloraMessagesCore/HelperPeopleFile.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"

namespace pellora::ExchangeFields {

// The names of HelperHeartbeat::Status in its order.
inline constexpr std::array<std::string_view, 4> kStatusNames = {"reading", "needsFullDiskAccess", "waitingForPellora",
                                                                 "failed"};

// `Value` is const when the record is.
template <class Value>
struct Field {
  std::string_view key;
  Value& value;
};

template <class Value>
Field(std::string_view, Value&) -> Field<Value>;

// A record, const or not.
template <class Given, class Record>
concept Is = std::same_as<std::remove_const_t<Given>, Record>;

// Each calls `use(Field...)` with all fields of the record.

template <Is<HelperPerson> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"emails", record.emails}, Field{"firstName", record.firstName}, Field{"id", record.id},
             Field{"phones", record.phones});
}

template <Is<HelperPeopleFile> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"people", record.people}, Field{"writtenAt", record.writtenAt});
}

template <Is<HelperHeartbeat> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"at", record.at}, Field{"helperVersion", record.helperVersion},
             Field{"lastReadAt", record.lastReadAt}, Field{"status", record.status});
}

template <Is<MessagesNews> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"kind", record.kind}, Field{"messageAt", record.messageAt}, Field{"sentence", record.sentence},
             Field{"when", record.when});
}

template <Is<MessagesMeetup> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"cue", record.cue}, Field{"day", record.day}, Field{"isDayFromWords", record.isDayFromWords},
             Field{"messageAt", record.messageAt}, Field{"what", record.what});
}

template <Is<MessagesBirthday> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"age", record.age}, Field{"day", record.day}, Field{"month", record.month},
             Field{"name", record.name}, Field{"wishedAt", record.wishedAt});
}

template <Is<MessagesDayRecord> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"birthday", record.birthday}, Field{"birthdayHint", record.birthdayHint}, Field{"day", record.day},
             Field{"firstMessageAt", record.firstMessageAt}, Field{"handle", record.handle},
             Field{"lastMessageAt", record.lastMessageAt}, Field{"meetups", record.meetups}, Field{"news", record.news},
             Field{"personID", record.personID}, Field{"receivedCount", record.receivedCount},
             Field{"sentCount", record.sentCount}, Field{"sentURLs", record.sentURLs},
             Field{"startedByMe", record.startedByMe}, Field{"summary", record.summary},
             Field{"waitingOnYou", record.waitingOnYou});
}

template <Is<HelperDayNotes> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"days", record.days});
}

template <Is<LastReadMark> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"at", record.at}, Field{"day", record.day}, Field{"lastRowID", record.lastRowID},
             Field{"notesMark", record.notesMark}, Field{"rowMark", record.rowMark}, Field{"zone", record.zone});
}

template <Is<WaitingDay> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"areMeetupsAnswered", record.areMeetupsAnswered}, Field{"isNewsAnswered", record.isNewsAnswered},
             Field{"isSentenceAnswered", record.isSentenceAnswered}, Field{"nextTryAt", record.nextTryAt},
             Field{"record", record.record}, Field{"triesUsed", record.triesUsed});
}

template <Is<LatelyAnswer> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"instructions", record.instructions}, Field{"isAnswered", record.isAnswered},
             Field{"nextTryAt", record.nextTryAt}, Field{"personID", record.personID}, Field{"prompt", record.prompt},
             Field{"summary", record.summary}, Field{"triesUsed", record.triesUsed});
}

template <Is<ModelUse> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"answerTokens", record.answerTokens}, Field{"days", record.days},
             Field{"milliseconds", record.milliseconds}, Field{"promptTokens", record.promptTokens},
             Field{"questions", record.questions});
}

template <Is<ModelAccount> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"lastFailure", record.lastFailure}, Field{"lastRead", record.lastRead},
             Field{"nextTryAt", record.nextTryAt}, Field{"total", record.total},
             Field{"waitingDays", record.waitingDays});
}

template <Is<ReadProgress> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"daysDone", record.daysDone}, Field{"daysTotal", record.daysTotal},
             Field{"startedAt", record.startedAt});
}

template <Is<HelperState> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"analysed", record.analysed}, Field{"askAgain", record.askAgain}, Field{"lastRead", record.lastRead},
             Field{"lately", record.lately}, Field{"model", record.model}, Field{"notesVersion", record.notesVersion},
             Field{"progress", record.progress}, Field{"waiting", record.waiting});
}

template <Is<MessagesLatelyRecord::SentLink> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"sentAt", record.sentAt}, Field{"url", record.url});
}

template <Is<MessagesLatelyRecord> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"birthdayWishDays", record.birthdayWishDays}, Field{"birthdays", record.birthdays},
             Field{"dayCount", record.dayCount}, Field{"firstMessageAt", record.firstMessageAt},
             Field{"handle", record.handle}, Field{"lastMessageAt", record.lastMessageAt},
             Field{"lastTalkedAt", record.lastTalkedAt}, Field{"meetups", record.meetups}, Field{"news", record.news},
             Field{"personID", record.personID}, Field{"receivedCount", record.receivedCount},
             Field{"sentCount", record.sentCount}, Field{"sentLinks", record.sentLinks},
             Field{"summary", record.summary}, Field{"windowDays", record.windowDays},
             Field{"writtenAt", record.writtenAt});
}

}  // namespace pellora::ExchangeFields
