// A day's record, what it may hold (a wished birthday, times together, big news), and the draft that it begins as.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Language/FoundItems.h"
#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/Text/Uuid.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// A birthday that the user wished somebody, as BirthdayFinder finds it.
struct MessagesBirthday {
  std::optional<std::string> name;  // absent: the person's own birthday
  int month = 0;                    // 1 to 12
  int day = 0;                      // 1 to 31
  std::optional<int> age;           // 1 to 110
  Instant wishedAt;                 // time of the day's first message

  bool operator==(const MessagesBirthday&) const = default;
};

// A time that the user and the person were together, as MeetupGuard accepted it.
struct MessagesMeetup {
  std::string what;  // a few words of the message, may be empty
  Instant day;       // start of the day, in the user's calendar
  bool isDayFromWords = false;
  Instant messageAt;               // the reference date of the analysis
  std::optional<std::string> cue;  // the phrase that vouched for it

  bool operator==(const MessagesMeetup&) const = default;
};

// A piece of big news in a person's life, as NewsGuard accepted it.
struct MessagesNews {
  using Kind = NewsKind;

  std::string sentence;
  Kind kind = Kind::work;
  std::string when;   // words of the message, may be empty
  Instant messageAt;  // the reference date of the analysis

  bool operator==(const MessagesNews&) const = default;
};

// One person's one-to-one texting on one calendar day.
struct MessagesDayRecord {
  Uuid personID;
  std::string day;     // day string in the user's calendar
  std::string handle;  // of the chat that the day's first grouped message came from
  Instant firstMessageAt;
  Instant lastMessageAt;
  std::int64_t sentCount = 0;
  std::int64_t receivedCount = 0;
  bool startedByMe = false;
  bool waitingOnYou = false;
  std::vector<std::string> sentURLs;  // no repeats, in order of first appearance
  bool birthdayHint = false;
  std::optional<std::string> summary;
  std::vector<MessagesNews> news;
  std::optional<std::vector<MessagesMeetup>> meetups;  // absent until analyzed
  std::optional<MessagesBirthday> birthday;

  // The person's UUID, "_", the day: the key of a day record everywhere.
  std::string id() const { return personID.toString() + "_" + day; }

  bool operator==(const MessagesDayRecord&) const = default;
};

// A day record together with the day's lines, which exist in memory only.
struct MessagesDayDraft {
  MessagesDayRecord record;
  std::vector<MessageLine> lines;  // every message of the day, oldest first, as stored
};

}  // namespace pellora
