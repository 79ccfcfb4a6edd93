#include "Pellora_for_Messages/Engine/HelperReadCycle.h"

#include <algorithm>
#include <set>
#include <utility>

#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/KnownDays.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "PelloraMessagesCore/PeopleFingerprint.h"
#include "Pellora_for_Messages/Engine/HelperEngineKeys.h"

namespace pellora {

namespace {

using Reread = HelperDayNotes::Reread;

bool isAnalysed(const MessagesDayRecord& record) {
  return record.meetups.has_value();
}

std::string firstNameOf(const HandleMatcher& matcher, const Uuid& person) {
  const auto name = matcher.firstNames().find(person);
  return name == matcher.firstNames().end() ? std::string() : name->second;
}

// The chats of the new messages that can count, and every other one-to-one chat of the same people: a day's record
// joins all handles of a person.
std::set<std::int64_t> chatsToReread(const std::set<std::int64_t>& touched, const ChatParticipants& participants,
                                     const HandleMatcher& matcher) {
  std::set<Uuid> people;
  for (const std::int64_t chat : touched) {
    const auto handles = participants.find(chat);
    if (handles == participants.end() || handles->second.size() != 1) continue;
    if (const auto person = matcher.person(handles->second.front())) people.insert(*person);
  }
  std::set<std::int64_t> chats;
  if (people.empty()) return chats;
  for (const auto& [chat, handles] : participants) {
    if (handles.size() != 1) continue;
    const auto person = matcher.person(handles.front());
    if (person && people.contains(*person)) chats.insert(chat);
  }
  return chats;
}

}  // namespace

HelperReadCycle::HelperReadCycle(const HelperPlatform& platform, std::shared_ptr<LatelySummaries> summaries,
                                 QObject* owner, Delegate& delegate)
    : _platform(platform), _summaries(std::move(summaries)), _owner(owner), _delegate(delegate) {}

Task<HelperReadCycle::Outcome> HelperReadCycle::run() {
  using Kind = Outcome::Kind;
  _now = _platform.scheduler.now();
  _chatDatabase = _platform.chatDatabase;
  if (!ChatDatabase::canRead(_chatDatabase)) co_return Outcome{Kind::needsFullDiskAccess, {}, _now};
  _delegate.databaseIsReadable();
  _folder = HelperExchange::folderURL(_platform.container);
  const std::optional<ExchangeKey> key = ExchangeKeychain::load(_platform.secrets);
  if (!key) co_return Outcome{Kind::waitingForPellora, {}, _now};
  std::string failure;
  try {
    std::optional<HelperPeopleFile> people;
    co_await inBackground([&] { people = loadPeople(*key); });
    if (isAbandoned()) co_return Outcome{Kind::abandoned, {}, _now};
    if (!people) co_return Outcome{Kind::waitingForPellora, {}, _now};
    _delegate.peopleFound(static_cast<std::int64_t>(people->people.size()));
    Work work{.key = *key, .people = std::move(*people), .calendar = _platform.calendar()};
    co_await read(work);
    const Kind kind = isAbandoned() ? Kind::abandoned : Kind::finished;
    co_return Outcome{kind, {}, _now};
  } catch (const std::exception& error) {
    failure = error.what();
  }
  co_return Outcome{isAbandoned() ? Kind::abandoned : Kind::failed, failure, _now};
}

std::optional<HelperPeopleFile> HelperReadCycle::loadPeople(const ExchangeKey& key) const {
  std::optional<HelperPeopleFile> file = HelperPeopleFile::read(key, _folder);
  if (file && file->people.empty()) return std::nullopt;
  return file;
}

// What takes long goes on beside the event loop. There only what the read itself owns is touched: neither the delegate
// nor the platform, which may go away meanwhile.
Task<void> HelperReadCycle::inBackground(std::function<void()> work) const {
  return _platform.scheduler.inBackground(std::move(work));
}

Task<void> HelperReadCycle::read(Work& work) {
  work.cutoffDay = work.calendar.dayString(_now - kReadWindow);
  work.lastRow = _platform.defaults.integer(HelperEngineKeys::kLastRow).value_or(0);
  work.knownFingerprint = _platform.defaults.text(HelperEngineKeys::kPeople);
  const bool areNotesCurrent =
      _platform.defaults.integer(HelperEngineKeys::kNotesVersion) == HelperEngineKeys::kCurrentNotesVersion;
  co_await inBackground([&] { prepare(work, areNotesCurrent); });
  if (isAbandoned()) co_return;
  work.modelIsThere = co_await _platform.languageModel.isAvailable();
  if (isAbandoned()) co_return;

  Fetched fetched;
  std::vector<MessagesDayDraft> drafts;
  co_await inBackground([&] {
    fetched = isIncremental(work) ? fetchNew(work) : fetchAll(work);
    drafts = draftsOf(std::move(fetched.messages), work);
  });
  if (isAbandoned()) co_return;
  std::vector<MessagesDayRecord> records = co_await recordsOf(drafts, work);
  if (isAbandoned()) co_return;

  HelperDayNotes notes;
  co_await inBackground([&] { notes = mergedNotes(records, fetched.reread, work); });
  if (isAbandoned()) co_return;
  co_await writeLatelyRecords(std::move(notes), work);
  if (isAbandoned()) co_return;
  storeProgress(work, fetched.lastRow);
  // Not before: until the notes' version is stored with the progress, a first read would begin without the notes.
  if (_folder) {
    std::error_code ignored;
    std::filesystem::remove(*_folder / HelperExchange::kStateFile, ignored);
  }
}

void HelperReadCycle::prepare(Work& work, bool areNotesCurrent) const {
  work.database.emplace(_chatDatabase);
  work.matcher.emplace(work.people);
  work.fingerprint = peopleFingerprint(work.people.people);
  if (areNotesCurrent) work.stored = HelperDayNotes::loadIfReadable(work.key, _folder);
}

bool HelperReadCycle::isIncremental(const Work& work) {
  if (work.lastRow == 0 || !work.stored || work.knownFingerprint != work.fingerprint) return false;
  // Days that were read while there was no model are made up for as soon as there is one.
  return !work.modelIsThere || std::all_of(work.stored->days.begin(), work.stored->days.end(), isAnalysed);
}

std::vector<MessagesDayDraft> HelperReadCycle::draftsOf(std::vector<HistoryMessage> messages, const Work& work) {
  std::vector<MessagesDayDraft> drafts = MessagesDayBuilder::drafts(
      std::move(messages), work.participants, *work.matcher, work.matcher->firstNames(), work.calendar);
  // A row that came late may be older than the window; its day would only be dropped again.
  std::erase_if(drafts, [&work](const MessagesDayDraft& draft) { return draft.record.day < work.cutoffDay; });
  return drafts;
}

// Chats are asked for after the rows: a chat that begins in between would lose its first message for good.
HelperReadCycle::Fetched HelperReadCycle::fetchAll(Work& work) const {
  Fetched fetched;
  // Asked before the rows are, so that what arrives meanwhile belongs to the next read.
  fetched.lastRow = work.database->maxRowID();
  fetched.messages = work.database->messages(_now - kReadWindow, kFullLimit);
  work.participants = work.database->chatParticipants();
  return fetched;
}

HelperReadCycle::Fetched HelperReadCycle::fetchNew(Work& work) const {
  Fetched fetched{{}, work.lastRow, Reread::incremental};
  const std::vector<HistoryMessage> arrived = work.database->messages(work.lastRow, kIncrementalLimit);
  work.participants = work.database->chatParticipants();
  for (const HistoryMessage& message : arrived) fetched.lastRow = std::max(fetched.lastRow, message.rowID);
  // A whole portion of rows without text (photos, say) must not be met again and again.
  if (arrived.empty())
    fetched.lastRow = work.database->rowIDAtLimit(work.lastRow, kIncrementalLimit).value_or(work.lastRow);
  const auto span = MessagesDayBuilder::chatSpan(arrived, work.calendar);
  if (!span) return fetched;
  // Not before the window, and not after today: a damaged date may lie centuries ahead.
  const Instant windowDay = work.calendar.startOfDay(_now - kReadWindow);
  const Instant since = std::clamp(span->since, windowDay, work.calendar.startOfDay(_now));
  fetched.messages = work.database->messages(chatsToReread(span->chats, work.participants, *work.matcher), since);
  return fetched;
}

Task<std::vector<MessagesDayRecord>> HelperReadCycle::recordsOf(std::vector<MessagesDayDraft>& drafts, Work& work) {
  if (drafts.empty()) co_return std::vector<MessagesDayRecord>{};
  HelperState analysed;
  std::vector<MessagesDayRecord> records;
  std::vector<MessagesDayDraft*> others;  // newest first
  co_await inBackground([&] {
    analysed = HelperState::load(work.key, _folder).value_or(HelperState());
    if (analysed.notesVersion != HelperEngineKeys::kCurrentNotesVersion) analysed.analysed.clear();
    others = withoutKnownDays(drafts, work, analysed, records);
  });
  if (isAbandoned()) co_return records;
  for (std::size_t index = 0; index < others.size(); ++index) {
    MessagesDayDraft& draft = *others[index];
    if (work.modelIsThere) {
      _delegate.analysisProgress(static_cast<std::int64_t>(index), static_cast<std::int64_t>(others.size()));
      const bool isDone = co_await analyse(draft, work);
      if (isAbandoned()) co_return records;
      if (isDone) co_await inBackground([&] { keepAnalysed(work, analysed, draft.record); });
      if (isAbandoned()) co_return records;
      work.modelIsThere = isDone;
    }
    records.push_back(std::move(draft.record));
  }
  co_return records;
}

// The drafts that no known day stands for, newest first; the known days go to `records`.
std::vector<MessagesDayDraft*> HelperReadCycle::withoutKnownDays(std::vector<MessagesDayDraft>& drafts,
                                                                 const Work& work, const HelperState& analysed,
                                                                 std::vector<MessagesDayRecord>& records) {
  const std::vector<MessagesDayRecord> nothing;
  const KnownDays known(work.stored ? work.stored->days : nothing, analysed.analysed);
  std::vector<MessagesDayDraft*> others;
  records.reserve(drafts.size());
  for (auto draft = drafts.rbegin(); draft != drafts.rend(); ++draft) {
    if (const MessagesDayRecord* same = known.reusable(draft->record, work.modelIsThere))
      records.push_back(*same);
    else
      others.push_back(&*draft);
  }
  return others;
}

Task<bool> HelperReadCycle::analyse(MessagesDayDraft& draft, const Work& work) {
  LanguageModel& model = _platform.languageModel;
  const std::string firstName = firstNameOf(*work.matcher, draft.record.personID);
  std::optional<std::string> sentence = co_await MessagesModel::daySentence(model, draft, firstName);
  if (isAbandoned()) co_return false;
  std::vector<MessagesNews> news = co_await MessagesModel::findNews(model, draft, firstName);
  if (isAbandoned()) co_return false;
  std::vector<MessagesMeetup> meetups = co_await MessagesModel::findMeetups(model, draft, firstName, work.calendar);
  if (isAbandoned()) co_return false;
  // A model that went away meanwhile may have left questions unanswered: such a day stays to be analysed.
  const bool isStillThere = co_await model.isAvailable();
  if (isAbandoned()) co_return false;
  draft.record.summary = std::move(sentence);
  draft.record.news = std::move(news);
  if (isStillThere) draft.record.meetups = std::move(meetups);
  co_return isStillThere;
}

void HelperReadCycle::keepAnalysed(const Work& work, HelperState& analysed, const MessagesDayRecord& record) const {
  analysed.notesVersion = HelperEngineKeys::kCurrentNotesVersion;
  analysed.analysed.push_back(record);
  try {
    analysed.save(work.key, _folder);
  } catch (const std::exception&) {
    // Only the safety net is missing; the notes themselves report when they cannot be saved.
  }
}

HelperDayNotes HelperReadCycle::mergedNotes(const std::vector<MessagesDayRecord>& records, Reread reread,
                                            Work& work) const {
  std::set<Uuid> current;
  for (const HelperPerson& person : work.people.people) current.insert(person.id);
  const bool hadNotes = work.stored.has_value();
  HelperDayNotes notes = hadNotes ? std::move(*work.stored) : HelperDayNotes{};
  const std::size_t before = notes.days.size();
  const std::set<Uuid> changed = notes.merge(records, reread, work.cutoffDay, current);
  // A file that holds the same already stays as it is.
  if (!hadNotes || !changed.empty() || notes.days.size() != before) notes.save(work.key, _folder);
  return notes;
}

Task<void> HelperReadCycle::writeLatelyRecords(HelperDayNotes notes, Work& work) {
  std::unordered_map<Uuid, std::vector<MessagesDayRecord>> daysOf;
  for (MessagesDayRecord& day : notes.days) daysOf[day.personID].push_back(std::move(day));
  // Together is cheaper; with a model at work each record is safe as soon as it is there.
  const std::size_t together = work.modelIsThere ? 1 : kRecordsTogether;
  std::vector<MessagesLatelyRecord> records;
  for (const HelperPerson& person : work.people.people) {
    auto days = daysOf.extract(person.id);
    if (days.empty()) continue;
    const std::string firstName = firstNameOf(*work.matcher, person.id);
    std::optional<MessagesLatelyRecord> record =
        MessagesLatelyRecord::build(days.mapped(), kWindowDays, _platform.scheduler.now(), work.calendar, firstName);
    if (!record) continue;
    LanguageModel& model = work.modelIsThere ? _platform.languageModel : _absentModel;
    record->summary = co_await _summaries->summary(model, person.id, std::move(days.mapped()), firstName);
    if (isAbandoned()) co_return;
    records.push_back(std::move(*record));
    if (records.size() < together) continue;
    co_await writeRecords(records, work);
    if (isAbandoned()) co_return;
  }
  if (!records.empty()) co_await writeRecords(records, work);
}

Task<void> HelperReadCycle::writeRecords(std::vector<MessagesLatelyRecord>& records, const Work& work) const {
  co_await inBackground([&] { MessagesLatelyInbox::writeAll(work.key, _folder, records); });
  if (isAbandoned()) co_return;
  for (std::size_t count = 0; count < records.size(); ++count) _delegate.recordWritten();
  records.clear();
}

void HelperReadCycle::storeProgress(const Work& work, std::int64_t lastRow) const {
  _platform.defaults.store({{HelperEngineKeys::kLastRow, lastRow},
                            {HelperEngineKeys::kPeople, work.fingerprint},
                            {HelperEngineKeys::kNotesVersion, HelperEngineKeys::kCurrentNotesVersion},
                            {HelperEngineKeys::kLastRead, _now}});
}

}  // namespace pellora
