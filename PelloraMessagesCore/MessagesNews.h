// A piece of big news in a person's life, as NewsGuard accepted it.
#pragma once

#include <string>

#include "PelloraMessagesCore/Language/NewsKind.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct MessagesNews {
  using Kind = NewsKind;

  std::string sentence;
  Kind kind = Kind::work;
  std::string when;   // words of the message, may be empty
  Instant messageAt;  // the reference date of the analysis

  bool operator==(const MessagesNews&) const = default;
};

}  // namespace pellora
