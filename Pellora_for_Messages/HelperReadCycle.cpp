#include "Pellora_for_Messages/HelperReadCycle.h"

#include <algorithm>
#include <set>
#include <utility>

#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/FileError.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/KnownDays.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "PelloraMessagesCore/PeopleFingerprint.h"
#include "Pellora_for_Messages/HelperEngineKeys.h"

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
  if (!ChatDatabase::canRead(_platform.chatDatabase)) co_return Outcome{Kind::needsFullDiskAccess, {}, _now};
  _delegate.databaseIsReadable();
  const std::optional<ExchangeKey> key = ExchangeKeychain::load(_platform.secrets);
  if (!key) co_return Outcome{Kind::waitingForPellora, {}, _now};
  std::optional<HelperPeopleFile> people = loadPeople(*key);
  if (!people) co_return Outcome{Kind::waitingForPellora, {}, _now};
  _delegate.peopleFound(static_cast<std::int64_t>(people->people.size()));
  std::string failure;
  try {
    HandleMatcher matcher(*people);
    std::string fingerprint = peopleFingerprint(people->people);
    Work work{*key, std::move(*people), std::move(matcher), _platform.calendar(), std::move(fingerprint), {}, false,
              {}};
    co_await read(work);
    const Kind kind = isAbandoned() ? Kind::abandoned : Kind::finished;
    co_return Outcome{kind, {}, _now};
  } catch (const std::exception& error) {
    failure = error.what();
  }
  co_return Outcome{isAbandoned() ? Kind::abandoned : Kind::failed, failure, _now};
}

std::optional<HelperPeopleFile> HelperReadCycle::loadPeople(const ExchangeKey& key) const {
  std::optional<HelperPeopleFile> file = HelperPeopleFile::read(key, HelperExchange::folderURL(_platform.container));
  if (file && file->people.empty()) return std::nullopt;
  return file;
}

Task<void> HelperReadCycle::read(Work& work) {
  const ChatDatabase database(_platform.chatDatabase);
  const ChatParticipants participants = database.chatParticipants();
  _folder = HelperExchange::folderURL(_platform.container);
  work.cutoffDay = work.calendar.dayString(_now - kReadWindow);
  if (_platform.defaults.integer(HelperEngineKeys::kNotesVersion) == HelperEngineKeys::kCurrentNotesVersion)
    work.stored = HelperDayNotes::loadIfReadable(work.key, _folder);
  work.modelIsThere = co_await _platform.languageModel.isAvailable();
  if (isAbandoned()) co_return;

  Fetched fetched = fetch(database, participants, work);
  std::vector<MessagesDayDraft> drafts = MessagesDayBuilder::drafts(
      std::move(fetched.messages), participants, work.matcher, work.matcher.firstNames(), work.calendar);
  // A row that came late may be older than the window; its day would only be dropped again.
  std::erase_if(drafts, [&work](const MessagesDayDraft& draft) { return draft.record.day < work.cutoffDay; });
  const std::vector<MessagesDayRecord> records = co_await recordsOf(drafts, work);
  if (isAbandoned()) co_return;

  HelperDayNotes notes = mergedNotes(records, fetched.reread, work);
  co_await writeLatelyRecords(std::move(notes), work);
  if (isAbandoned()) co_return;
  storeProgress(work, fetched.lastRow);
  // Not before: until the notes' version is stored with the progress, a first read would begin without the notes.
  AnalysedDays::remove(_folder);
}

bool HelperReadCycle::isIncremental(const Work& work, std::int64_t lastRow) const {
  if (lastRow == 0 || !work.stored) return false;
  if (_platform.defaults.text(HelperEngineKeys::kPeople) != work.fingerprint) return false;
  // Days that were read while there was no model are made up for as soon as there is one.
  return !work.modelIsThere || std::all_of(work.stored->days.begin(), work.stored->days.end(), isAnalysed);
}

HelperReadCycle::Fetched HelperReadCycle::fetch(const ChatDatabase& database, const ChatParticipants& participants,
                                                const Work& work) const {
  const std::int64_t lastRow = _platform.defaults.integer(HelperEngineKeys::kLastRow).value_or(0);
  return isIncremental(work, lastRow) ? fetchNew(database, participants, work, lastRow) : fetchAll(database);
}

HelperReadCycle::Fetched HelperReadCycle::fetchAll(const ChatDatabase& database) const {
  Fetched fetched;
  // Asked before the rows are, so that what arrives meanwhile belongs to the next read.
  fetched.lastRow = database.maxRowID();
  fetched.messages = database.messages(_now - kReadWindow, kFullLimit);
  return fetched;
}

HelperReadCycle::Fetched HelperReadCycle::fetchNew(const ChatDatabase& database, const ChatParticipants& participants,
                                                   const Work& work, std::int64_t lastRow) const {
  Fetched fetched{{}, lastRow, Reread::incremental};
  const std::vector<HistoryMessage> arrived = database.messages(lastRow, kIncrementalLimit);
  for (const HistoryMessage& message : arrived) fetched.lastRow = std::max(fetched.lastRow, message.rowID);
  const auto span = MessagesDayBuilder::chatSpan(arrived, work.calendar);
  if (!span) return fetched;
  const Instant windowDay = work.calendar.startOfDay(_now - kReadWindow);
  fetched.messages =
      database.messages(chatsToReread(span->chats, participants, work.matcher), std::max(span->since, windowDay));
  return fetched;
}

Task<std::vector<MessagesDayRecord>> HelperReadCycle::recordsOf(std::vector<MessagesDayDraft>& drafts, Work& work) {
  if (drafts.empty()) co_return std::vector<MessagesDayRecord>{};
  AnalysedDays analysed = AnalysedDays::load(work.key, _folder, HelperEngineKeys::kCurrentNotesVersion);
  const std::vector<MessagesDayRecord> leftBehind = analysed.days;
  const std::vector<MessagesDayRecord> nothing;
  const KnownDays known(work.stored ? work.stored->days : nothing, leftBehind);
  std::vector<MessagesDayRecord> records;
  records.reserve(drafts.size());
  std::vector<MessagesDayDraft*> others;  // newest first
  for (auto draft = drafts.rbegin(); draft != drafts.rend(); ++draft) {
    if (const MessagesDayRecord* same = known.reusable(draft->record, work.modelIsThere))
      records.push_back(*same);
    else
      others.push_back(&*draft);
  }
  for (std::size_t index = 0; index < others.size(); ++index) {
    MessagesDayDraft& draft = *others[index];
    if (work.modelIsThere) {
      _delegate.analysisProgress(static_cast<std::int64_t>(index), static_cast<std::int64_t>(others.size()));
      const bool isDone = co_await analyse(draft, work);
      if (isAbandoned()) co_return records;
      if (isDone) keepAnalysed(work, analysed, draft.record);
      work.modelIsThere = isDone;
    }
    records.push_back(std::move(draft.record));
  }
  co_return records;
}

Task<bool> HelperReadCycle::analyse(MessagesDayDraft& draft, const Work& work) {
  LanguageModel& model = _platform.languageModel;
  const std::string firstName = firstNameOf(work.matcher, draft.record.personID);
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

void HelperReadCycle::keepAnalysed(const Work& work, AnalysedDays& analysed, const MessagesDayRecord& record) const {
  analysed.notesVersion = HelperEngineKeys::kCurrentNotesVersion;
  analysed.days.push_back(record);
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
    std::optional<MessagesLatelyRecord> record =
        MessagesLatelyRecord::build(days.mapped(), kWindowDays, _platform.scheduler.now(), work.calendar);
    if (!record) continue;
    LanguageModel& model = work.modelIsThere ? _platform.languageModel : _absentModel;
    record->summary =
        co_await _summaries->summary(model, person.id, std::move(days.mapped()), firstNameOf(work.matcher, person.id));
    if (isAbandoned()) co_return;
    records.push_back(std::move(*record));
    if (records.size() < together) continue;
    writeRecords(records, work);
    co_await _platform.scheduler.yield();
    if (isAbandoned()) co_return;
  }
  writeRecords(records, work);
}

void HelperReadCycle::writeRecords(std::vector<MessagesLatelyRecord>& records, const Work& work) const {
  MessagesLatelyInbox::writeAll(work.key, _folder, records);
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
