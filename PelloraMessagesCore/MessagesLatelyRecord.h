// The roll-up of one person's days over the window: the one thing about a person that crosses to the main app.
// No message text is in it. Tested by Tests/Core/MessagesLatelyRecordTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct MessagesLatelyRecord {
  struct SentLink {
    std::string url;
    Instant sentAt;  // last message of the day in which it was first sent

    bool operator==(const SentLink&) const = default;
  };

  Uuid personID;
  std::string handle;
  std::int64_t windowDays = 30;
  Instant firstMessageAt;
  Instant lastMessageAt;
  std::optional<Instant> lastTalkedAt;  // absent when the user sent nothing in the window
  std::int64_t sentCount = 0;
  std::int64_t receivedCount = 0;
  std::int64_t dayCount = 0;
  std::optional<std::string> summary;
  std::vector<MessagesNews> news;
  std::optional<std::vector<MessagesMeetup>> meetups;
  std::optional<std::vector<MessagesBirthday>> birthdays;
  std::vector<SentLink> sentLinks;
  std::vector<std::string> birthdayWishDays;  // day strings, oldest first
  Instant writtenAt;

  // From the day records of one person, in any order; absent when there are none. The summary stays absent.
  // `firstName` is what sentences about the person begin with.
  static std::optional<MessagesLatelyRecord> build(std::vector<MessagesDayRecord> days, std::int64_t windowDays,
                                                   Instant writtenAt, const LocalCalendar& calendar,
                                                   std::string_view firstName);

  bool operator==(const MessagesLatelyRecord&) const = default;
};

}  // namespace pellora
