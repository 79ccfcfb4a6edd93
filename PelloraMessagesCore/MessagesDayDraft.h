// A day record together with the day's lines, which exist in memory only.
#pragma once

#include <vector>

#include "PelloraMessagesCore/Language/MessageLine.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

struct MessagesDayDraft {
  MessagesDayRecord record;
  std::vector<MessageLine> lines;  // every message of the day, oldest first, as stored
};

}  // namespace pellora
