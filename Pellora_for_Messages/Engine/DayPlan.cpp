#include "Pellora_for_Messages/Engine/DayPlan.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace pellora {

namespace {

// Records and answers by the ids of days. Keeps references to the memory.
class KnownDays {
 public:
  explicit KnownDays(const ReadMemory& memory) : _askAgain(memory.state.askAgain.begin(), memory.state.askAgain.end()) {
    if (memory.stored)
      for (const MessagesDayRecord& day : memory.stored->notes.days) _stored.insert_or_assign(day.id(), &day);
    for (const MessagesDayRecord& day : memory.state.analyzed) _analyzed.insert_or_assign(day.id(), &day);
    for (const WaitingDay& day : memory.state.waiting) _waiting.insert_or_assign(day.record.id(), &day);
  }

  const MessagesDayRecord* stored(const std::string& id) const { return find(_stored, id); }
  const MessagesDayRecord* analyzed(const std::string& id) const { return find(_analyzed, id); }
  const WaitingDay* waiting(const std::string& id) const { return find(_waiting, id); }
  bool isToBeAskedAgain(const std::string& id) const { return _askAgain.contains(id); }

 private:
  template <class Value>
  using Index = std::unordered_map<std::string, const Value*>;

  template <class Value>
  static const Value* find(const Index<Value>& index, const std::string& id) {
    const auto found = index.find(id);
    return found == index.end() ? nullptr : found->second;
  }

  Index<MessagesDayRecord> _stored;
  Index<MessagesDayRecord> _analyzed;
  Index<WaitingDay> _waiting;
  std::unordered_set<std::string> _askAgain;
};

Instant toWholeSecond(Instant instant) {
  return instantAtSeconds(wholeSeconds(instant));
}

// As it will be after it was written and read, so that it equals a stored record that says the same.
void roundTimes(MessagesDayRecord& record) {
  record.firstMessageAt = toWholeSecond(record.firstMessageAt);
  record.lastMessageAt = toWholeSecond(record.lastMessageAt);
  if (record.birthday) record.birthday->wishedAt = toWholeSecond(record.birthday->wishedAt);
}

void takeFindings(const MessagesDayRecord& from, MessagesDayRecord& into) {
  into.summary = from.summary;
  into.news = from.news;
  into.meetups = from.meetups;
}

bool isSameLastMessage(const MessagesDayRecord& left, const MessagesDayRecord& right) {
  return wholeSeconds(left.lastMessageAt) == wholeSeconds(right.lastMessageAt);
}

// The window's first day loses messages at its beginning as time goes on; what was found in it stays true.
bool isRestOf(const MessagesDayRecord& found, const MessagesDayRecord& stored, const std::string& cutoffDay) {
  return found.day == cutoffDay && stored.meetups && isSameLastMessage(found, stored) &&
         found.sentCount <= stored.sentCount && found.receivedCount <= stored.receivedCount;
}

// Messages have come to it since.
bool hasGrown(const MessagesDayRecord& found, const MessagesDayRecord& stored) {
  return wholeSeconds(found.firstMessageAt) == wholeSeconds(stored.firstMessageAt) &&
         found.sentCount >= stored.sentCount && found.receivedCount >= stored.receivedCount;
}

// The findings that hold for the day as it was found; true when it needs no question.
bool fillFindings(MessagesDayRecord& record, const KnownDays& known, const std::string& id,
                  const std::string& cutoffDay, bool isModelThere) {
  const MessagesDayRecord* stored = known.stored(id);
  const MessagesDayRecord* analyzed = known.analyzed(id);
  const bool isStoredSame = stored != nullptr && isSameContent(*stored, record);
  const bool isAnalyzedSame = analyzed != nullptr && isSameContent(*analyzed, record);
  if (isStoredSame && stored->meetups)
    takeFindings(*stored, record);
  else if (isAnalyzedSame)
    takeFindings(*analyzed, record);
  else if (isStoredSame || (stored != nullptr && isRestOf(record, *stored, cutoffDay)))
    takeFindings(*stored, record);
  else if (isModelThere && stored != nullptr && hasGrown(record, *stored)) {
    // Still true of the messages before; the answers about the whole day take their place.
    record.summary = stored->summary;
    record.news = stored->news;
  }
  return record.meetups.has_value();
}

// The answers to the questions of this very content.
WaitingDay waitingFor(const MessagesDayRecord& record, const WaitingDay* known) {
  WaitingDay waiting;
  if (known != nullptr && isSameContent(known->record, record)) waiting = *known;
  const MessagesDayRecord answered = std::exchange(waiting.record, record);
  if (waiting.isSentenceAnswered) waiting.record.summary = answered.summary;
  if (waiting.isNewsAnswered) waiting.record.news = answered.news;
  if (waiting.areMeetupsAnswered) waiting.record.meetups = answered.meetups;
  return waiting;
}

}  // namespace

bool isSameContent(const MessagesDayRecord& left, const MessagesDayRecord& right) {
  return left.sentCount == right.sentCount && left.receivedCount == right.receivedCount &&
         isSameLastMessage(left, right);
}

DayPlan DayPlan::of(std::vector<MessagesDayDraft> drafts, const ReadContext& context, const ReadMemory& memory,
                    bool isModelThere) {
  DayPlan plan;
  if (drafts.empty()) return plan;
  const KnownDays known(memory);
  std::vector<OpenDay> tried;
  plan.records.reserve(drafts.size());
  for (auto draft = drafts.rbegin(); draft != drafts.rend(); ++draft) {
    MessagesDayRecord record = draft->record;
    const std::string id = record.id();
    roundTimes(record);
    const bool isAnalyzed = fillFindings(record, known, id, context.cutoffDay, isModelThere);
    if (isModelThere && (!isAnalyzed || known.isToBeAskedAgain(id))) {
      WaitingDay waiting = waitingFor(record, known.waiting(id));
      record.summary = waiting.record.summary;
      record.news = waiting.record.news;
      const bool wasTried = waiting.nextTryAt != Instant();
      if (waiting.nextTryAt <= context.now)
        (wasTried ? tried : plan.open).push_back({std::move(*draft), std::move(waiting)});
    }
    plan.records.push_back(std::move(record));
  }
  std::move(tried.begin(), tried.end(), std::back_inserter(plan.open));
  return plan;
}

bool DayPlan::hasDaysToAsk(const ReadContext& context, const ReadMemory& memory) {
  if (!memory.stored) return false;
  const KnownDays known(memory);
  return std::any_of(memory.stored->notes.days.begin(), memory.stored->notes.days.end(), [&](const auto& day) {
    const std::string id = day.id();
    if (day.day < context.cutoffDay || (day.meetups && !known.isToBeAskedAgain(id))) return false;
    const WaitingDay* waiting = known.waiting(id);
    return waiting == nullptr || !isSameContent(waiting->record, day) || waiting->nextTryAt <= context.now;
  });
}

}  // namespace pellora
