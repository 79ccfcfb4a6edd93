// The fate of the days that a read found: which records stay as they are, and about which days the language
// model is asked. Everything that needs no model comes fresh from the store; the model's findings of a day are kept
// while its content is the same (counts and last message, to the whole second: files keep no more). Pure. Tested by
// Tests/App/ReadHistoryTests.cpp and ModelOutageTests.cpp.
#pragma once

#include <vector>

#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"

namespace pellora {

// A day about which the model is asked: its lines, and what was answered so far.
struct OpenDay {
  MessagesDayDraft draft;
  WaitingDay waiting;
};

struct DayPlan {
  // `drafts` oldest first. Without a model no day is open.
  static DayPlan of(std::vector<MessagesDayDraft> drafts, const ReadContext& context, const ReadMemory& memory,
                    bool isModelThere);

  // Whether the stored notes hold a day about which the model can be asked now.
  static bool hasDaysToAsk(const ReadContext& context, const ReadMemory& memory);

  std::vector<MessagesDayRecord> records;  // of every draft, newest first
  std::vector<OpenDay> open;               // newest first, days that failed before after all others
};

// Same counts, same last message.
bool isSameContent(const MessagesDayRecord& left, const MessagesDayRecord& right);

}  // namespace pellora
