// One message row of the Messages store, as ChatDatabase reads it.
#pragma once

#include <cstdint>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct HistoryMessage {
  std::int64_t rowID = 0;
  Instant date;
  bool isFromMe = false;
  std::string text;  // never empty
  std::int64_t chatID = 0;

  bool operator==(const HistoryMessage&) const = default;
};

}  // namespace pellora
