// A time that the user and the person were together, as MeetupGuard accepted it.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct MessagesMeetup {
  std::string what;  // a few words of the message, may be empty
  Instant day;       // start of the day, in the user's calendar
  bool isDayFromWords = false;
  Instant messageAt;               // the reference date of the analysis
  std::optional<std::string> cue;  // the phrase that vouched for it

  bool operator==(const MessagesMeetup&) const = default;
};

}  // namespace pellora
