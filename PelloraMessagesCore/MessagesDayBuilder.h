// Groups message rows into one draft per person and calendar day and fills in everything that needs no language
// model. Rows of unknown chats, group chats and unknown people are skipped. Pure.
// Tested by Tests/Core/MessagesDayBuilderTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

namespace MessagesDayBuilder {

// Oldest last message first. A row id met twice in one person's day counts once. The messages' texts are moved
// into the drafts.
std::vector<MessagesDayDraft> drafts(std::vector<HistoryMessage> messages, const ChatParticipants& chatHandles,
                                     const HandleMatcher& matcher,
                                     const std::unordered_map<Uuid, std::string>& firstNames,
                                     const LocalCalendar& calendar);

// The http and https addresses in the texts, whole, without repeats, in order of first appearance.
std::vector<std::string> links(const std::vector<std::string_view>& texts);

struct ChatSpan {
  std::set<std::int64_t> chats;
  Instant since;  // start of the calendar day of the earliest message
};

// Absent for an empty list.
std::optional<ChatSpan> chatSpan(const std::vector<HistoryMessage>& messages, const LocalCalendar& calendar);

}  // namespace MessagesDayBuilder

}  // namespace pellora
