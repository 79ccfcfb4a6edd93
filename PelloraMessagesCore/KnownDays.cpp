#include "PelloraMessagesCore/KnownDays.h"

namespace pellora {

namespace {

bool isUnchanged(const MessagesDayRecord& known, const MessagesDayRecord& found) {
  return known.sentCount == found.sentCount && known.receivedCount == found.receivedCount &&
         wholeSeconds(known.lastMessageAt) == wholeSeconds(found.lastMessageAt);
}

}  // namespace

KnownDays::KnownDays(const std::vector<MessagesDayRecord>& stored, const std::vector<MessagesDayRecord>& leftBehind) {
  _stored.reserve(stored.size());
  for (const MessagesDayRecord& record : stored) _stored.insert_or_assign(record.id(), &record);
  for (const MessagesDayRecord& record : leftBehind) _leftBehind.insert_or_assign(record.id(), &record);
}

const MessagesDayRecord* KnownDays::reusable(const MessagesDayRecord& found, bool modelIsThere) const {
  const std::string id = found.id();
  const auto unchanged = [&](const Records& records) -> const MessagesDayRecord* {
    const auto known = records.find(id);
    return known != records.end() && isUnchanged(*known->second, found) ? known->second : nullptr;
  };
  const MessagesDayRecord* stored = unchanged(_stored);
  if (stored != nullptr && stored->meetups) return stored;
  if (const MessagesDayRecord* analysed = unchanged(_leftBehind)) return analysed;
  return modelIsThere ? nullptr : stored;
}

}  // namespace pellora
