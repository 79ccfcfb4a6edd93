// One person's one-to-one texting on one calendar day.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/MessagesBirthday.h"
#include "PelloraMessagesCore/MessagesMeetup.h"
#include "PelloraMessagesCore/MessagesNews.h"
#include "PelloraMessagesCore/Text/Uuid.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

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
  std::optional<std::vector<MessagesMeetup>> meetups;  // absent until analysed
  std::optional<MessagesBirthday> birthday;

  // The person's UUID, "_", the day: the key of a day record everywhere.
  std::string id() const { return personID.toString() + "_" + day; }

  bool operator==(const MessagesDayRecord&) const = default;
};

}  // namespace pellora
