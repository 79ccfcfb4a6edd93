#include "Pellora_for_Messages/Engine/StoreReading.h"

#include <algorithm>
#include <set>
#include <utility>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "Pellora_for_Messages/Engine/DayPlan.h"

namespace pellora {

namespace {

using Reread = HelperDayNotes::Reread;

// The store of one read: the connection with what every query of the read needs.
struct Store {
  explicit Store(const ReadContext& context) : context(context), database(context.chatDatabase, context.stop) {
    database.beginSnapshot();
    participants = database.chatParticipants();
    for (const auto& [chat, handles] : participants)
      if (handles.size() == 1)
        if (const auto person = context.matcher.person(handles.front())) personOf.emplace(chat, *person);
    for (const auto& [chat, person] : personOf) chats.insert(chat);
  }

  const ReadContext& context;
  ChatDatabase database;
  ChatParticipants participants;
  std::unordered_map<std::int64_t, Uuid> personOf;  // of the one-to-one chats with people
  ChatSelection chats;                              // the same chats
};

// Whether settings, notes and calendar are still those that the last read left behind.
bool isLastReadIntact(const ReadContext& context, const ReadMemory& memory) {
  const ReadSettings& settings = memory.settings;
  const std::optional<LastReadMark>& last = memory.state.lastRead;
  if (settings.lastRowID == 0 || settings.fingerprint != context.fingerprint || !memory.stored || !last) return false;
  if (last->names != context.names) return false;
  // Notes and state that were put back together agree with each other; the settings know better.
  if (settings.notesMark != memory.stored->mark) return false;
  if (!settings.lastReadAt || *settings.lastReadAt > context.now) return false;
  return last->lastRowID == settings.lastRowID && last->at <= context.now && last->notesMark == memory.stored->mark &&
         last->day == context.calendar.dayString(context.now) && last->zone == context.zoneMark(last->at);
}

// Whether this is the store that the last read saw, with nothing taken from its end.
bool isSameStore(const Store& store, const LastReadMark& last) {
  return store.database.maxRowID() >= last.lastRowID && store.database.rowMark(last.lastRowID) == last.rowMark;
}

std::vector<MessagesDayDraft> draftsOf(std::vector<HistoryMessage> messages, const Store& store) {
  const ReadContext& context = store.context;
  std::vector<MessagesDayDraft> drafts = MessagesDayBuilder::drafts(
      std::move(messages), store.participants, context.matcher, context.matcher.firstNames(), context.calendar);
  // A row that came late may be older than the window; its day would only be dropped again.
  std::erase_if(drafts, [&](const MessagesDayDraft& draft) { return draft.record.day < context.cutoffDay; });
  return drafts;
}

StoreReading readAll(const Store& store) {
  StoreReading reading;
  reading.lastRowID = store.database.maxRowID();
  reading.drafts = draftsOf(store.database.allMessages(store.chats, store.context.windowStart), store);
  return reading;
}

// The chats of the new messages and every other chat of the same people: a day's record joins all handles of a person.
ChatSelection chatsToReread(const std::set<std::int64_t>& touched, const Store& store) {
  std::set<Uuid> people;
  for (const std::int64_t chat : touched)
    if (const auto person = store.personOf.find(chat); person != store.personOf.end()) people.insert(person->second);
  ChatSelection chats;
  for (const auto& [chat, person] : store.personOf)
    if (people.contains(person)) chats.insert(chat);
  return chats;
}

StoreReading readNew(const Store& store, std::int64_t lastRowID) {
  const ReadContext& context = store.context;
  const ChatDatabase::NewRows arrived = store.database.newRows(store.chats, lastRowID, StoreReading::kIncrementalLimit);
  StoreReading reading;
  reading.reread = Reread::incremental;
  reading.lastRowID = std::max(lastRowID, arrived.highestRowID);
  reading.isMoreWaiting = arrived.isLimitReached;
  const auto span = MessagesDayBuilder::chatSpan(arrived.messages, context.calendar);
  if (!span) return reading;
  // Not before the window, and not after today: a damaged date may lie centuries ahead.
  const Instant since = std::clamp(span->since, context.calendar.startOfDay(context.windowStart),
                                   context.calendar.startOfDay(context.now));
  reading.drafts = draftsOf(store.database.allMessages(chatsToReread(span->chats, store), since), store);
  return reading;
}

}  // namespace

StoreReading StoreReading::of(const ReadContext& context, const ReadMemory& memory, bool isModelThere) {
  const Store store(context);
  const bool isIncremental = isLastReadIntact(context, memory) && isSameStore(store, *memory.state.lastRead) &&
                             !(isModelThere && DayPlan::hasDaysToAsk(context, memory));
  StoreReading reading = isIncremental ? readNew(store, memory.settings.lastRowID) : readAll(store);
  reading.rowMark = store.database.rowMark(reading.lastRowID);
  return reading;
}

}  // namespace pellora
