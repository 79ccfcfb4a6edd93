#include "Pellora_for_Messages/Engine/ReadResults.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"

namespace pellora {

namespace {

const MessagesDayRecord& recordOf(const MessagesDayRecord& day) {
  return day;
}

const MessagesDayRecord& recordOf(const WaitingDay& day) {
  return day.record;
}

// The entry of the same person and day.
template <class Entries>
auto findDay(Entries& entries, const MessagesDayRecord& day) {
  return std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
    return recordOf(entry).personID == day.personID && recordOf(entry).day == day.day;
  });
}

// Taken at two times.
bool isSamePlace(const LastReadMark& earlier, const LastReadMark& later) {
  return earlier.lastRowID == later.lastRowID && earlier.rowMark == later.rowMark &&
         earlier.notesMark == later.notesMark && earlier.day == later.day && earlier.names == later.names;
}

bool isAbout(const MessagesLatelyRecord& record, const std::vector<MessagesDayRecord>& days) {
  std::int64_t sent = 0;
  std::int64_t received = 0;
  for (const MessagesDayRecord& day : days) {
    sent += day.sentCount;
    received += day.receivedCount;
  }
  return record.dayCount == static_cast<std::int64_t>(days.size()) && record.sentCount == sent &&
         record.receivedCount == received &&
         wholeSeconds(record.lastMessageAt) == wholeSeconds(days.back().lastMessageAt);
}

bool isSameQuestion(const LatelyAnswer& answer, const MessagesModel::Question& question) {
  return answer.instructions == question.instructions && answer.prompt == question.prompt;
}

}  // namespace

ReadResults::ReadResults(const ReadContext& context, ReadMemory memory, const std::vector<MessagesDayRecord>& records,
                         HelperDayNotes::Reread reread)
    : _context(context),
      _state(std::move(memory.state)),
      _isStateLost(memory.isStateLost),
      _areNotesTrusted(memory.settings.areNotesCurrent) {
  if (!_isStateLost) _savedState = _state;
  if (memory.stored) {
    _notes = std::move(memory.stored->notes);
    _notesMark = std::move(memory.stored->mark);
    _areNotesSaved = true;
  }
  std::set<Uuid> current;
  for (const HelperPerson& person : context.people) current.insert(person.id);
  const std::size_t before = _notes.days.size();
  const std::set<Uuid> changed = _notes.merge(records, reread, context.cutoffDay, current);
  // A file that holds the same already stays as it is.
  if (!changed.empty() || _notes.days.size() != before) _areNotesSaved = false;
}

void ReadResults::replaceDay(const MessagesDayRecord& record) {
  const auto day = findDay(_notes.days, record);
  if (day == _notes.days.end() || *day == record) return;
  *day = record;
  _areNotesSaved = false;
  _changed.insert(record.personID);
}

void ReadResults::keepAnalyzed(const MessagesDayRecord& record) {
  replaceDay(record);
  std::erase_if(_state.waiting, [&](const WaitingDay& day) { return day.record.id() == record.id(); });
  std::erase(_state.askAgain, record.id());
  std::erase_if(_state.analyzed, [&](const MessagesDayRecord& day) { return day.id() == record.id(); });
  _state.analyzed.push_back(record);
}

void ReadResults::keepWaiting(const WaitingDay& waiting) {
  const auto known = findDay(_state.waiting, waiting.record);
  if (known == _state.waiting.end())
    _state.waiting.push_back(waiting);
  else
    *known = waiting;
  const auto day = findDay(_notes.days, waiting.record);
  if (day == _notes.days.end()) return;
  MessagesDayRecord record = *day;
  record.summary = waiting.record.summary;
  record.news = waiting.record.news;
  replaceDay(record);
}

void ReadResults::keepLately(LatelyAnswer answer) {
  _changed.insert(answer.personID);
  std::erase_if(_state.lately, [&](const LatelyAnswer& known) { return known.personID == answer.personID; });
  _state.lately.push_back(std::move(answer));
}

std::vector<MessagesDayRecord> ReadResults::daysOf(const Uuid& person) const {
  std::vector<MessagesDayRecord> days;
  for (const MessagesDayRecord& day : _notes.days)
    if (day.personID == person) days.push_back(day);
  return days;
}

const LatelyAnswer* ReadResults::answerOf(const Uuid& person) const {
  const auto known = std::find_if(_state.lately.begin(), _state.lately.end(),
                                  [&](const LatelyAnswer& answer) { return answer.personID == person; });
  return known == _state.lately.end() ? nullptr : &*known;
}

std::optional<ReadResults::OpenLately> ReadResults::openLately(const Uuid& person) const {
  std::vector<MessagesDayRecord> days = daysOf(person);
  std::optional<MessagesModel::Question> question = MessagesModel::latelyQuestion(days, _context.firstNameOf(person));
  if (!question) return std::nullopt;
  OpenLately open{person, *std::move(question), std::move(days)};
  const LatelyAnswer* known = answerTo(open);
  if (known != nullptr && (known->isAnswered || known->nextTryAt > _context.now)) return std::nullopt;
  return open;
}

const LatelyAnswer* ReadResults::answerTo(const OpenLately& open) const {
  const LatelyAnswer* known = answerOf(open.person);
  return known != nullptr && isSameQuestion(*known, open.question) ? known : nullptr;
}

// A summary stays while the question is the same, letter for letter; so it does without a model.
std::optional<std::string> ReadResults::knownSummary(const Uuid& person, const std::vector<MessagesDayRecord>& days,
                                                     const std::string& firstName) const {
  const LatelyAnswer* known = answerOf(person);
  if (known == nullptr || !known->summary) return std::nullopt;
  const std::optional<MessagesModel::Question> question = MessagesModel::latelyQuestion(days, firstName);
  if (!question || !isSameQuestion(*known, *question)) return std::nullopt;
  return known->summary;
}

// Without a state the record itself tells: one about the same days was written for the same question.
void ReadResults::adoptRecordedSummary(const Uuid& person, const std::vector<MessagesDayRecord>& days,
                                       const std::string& firstName) {
  if (answerOf(person) != nullptr) return;
  const std::optional<MessagesModel::Question> question = MessagesModel::latelyQuestion(days, firstName);
  if (!question) return;
  const std::optional<MessagesLatelyRecord> written = MessagesLatelyInbox::read(_context.key, _context.folder, person);
  if (!written || !written->summary || !isAbout(*written, days)) return;
  _state.lately.push_back({person, question->instructions, question->prompt, written->summary, true, 0, {}});
}

void ReadResults::saveNotes() {
  if (_areNotesSaved) return;
  _notesMark = _notes.save(_context.key, _context.folder);
  _areNotesSaved = true;
}

void ReadResults::saveState() {
  if (_savedState == _state) return;
  _state.save(_context.key, _context.folder);
  _savedState = _state;
}

ReadResults::DaysOfPeople ReadResults::daysOfPeople(const std::set<Uuid>* only) const {
  DaysOfPeople result;
  std::unordered_map<Uuid, std::size_t> places;
  for (const HelperPerson& person : _context.people)
    if ((only == nullptr || only->contains(person.id)) && places.try_emplace(person.id, result.size()).second)
      result.emplace_back(&person, std::vector<MessagesDayRecord>());
  for (const MessagesDayRecord& day : _notes.days)
    if (const auto place = places.find(day.personID); place != places.end())
      result[place->second].second.push_back(day);
  return result;
}

std::size_t ReadResults::writeRecords(Instant writtenAt, bool onlyChanged) {
  std::vector<MessagesLatelyRecord> records;
  for (auto& [person, days] : daysOfPeople(onlyChanged ? &_changed : nullptr)) {
    if (days.empty()) continue;
    const std::string firstName = _context.firstNameOf(person->id);
    if (_isStateLost) adoptRecordedSummary(person->id, days, firstName);
    std::optional<std::string> summary = knownSummary(person->id, days, firstName);
    std::optional<MessagesLatelyRecord> record =
        MessagesLatelyRecord::build(std::move(days), ReadContext::kWindowDays, writtenAt, _context.calendar, firstName);
    record->summary = std::move(summary);
    records.push_back(*std::move(record));
  }
  if (!records.empty()) MessagesLatelyInbox::writeAll(_context.key, _context.folder, records);
  _changed.clear();
  _isStateLost = false;
  return records.size();
}

void ReadResults::finish(const StoreReading& reading) {
  std::unordered_set<std::string> ids;
  for (const MessagesDayRecord& day : _notes.days) ids.insert(day.id());
  // Until the notes' version is stored with the progress, a first read would begin without the notes.
  if (_areNotesTrusted) _state.analyzed.clear();
  _state.progress.reset();
  std::erase_if(_state.waiting, [&](const WaitingDay& waiting) {
    const auto day = findDay(_notes.days, waiting.record);
    return day == _notes.days.end() || !isSameContent(*day, waiting.record);
  });
  std::erase_if(_state.askAgain, [&](const std::string& id) { return !ids.contains(id); });
  std::erase_if(_state.lately, [&](const LatelyAnswer& answer) {
    return std::none_of(_context.people.begin(), _context.people.end(),
                        [&](const HelperPerson& person) { return person.id == answer.personID; });
  });
  _state.model.waitingDays = waitingDays();
  const LastReadMark mark{_context.now,
                          reading.lastRowID,
                          reading.rowMark,
                          _notesMark,
                          _context.calendar.dayString(_context.now),
                          _context.zoneMark(_context.now),
                          _context.names};
  // The mark of a read that changed nothing says the same; then the file can stay as it is.
  if (!_state.lastRead || !isSamePlace(*_state.lastRead, mark) ||
      _state.lastRead->zone != _context.zoneMark(_state.lastRead->at))
    _state.lastRead = mark;
}

void ReadResults::trustNotes() {
  _areNotesTrusted = true;
  _state.analyzed.clear();
}

std::int64_t ReadResults::waitingDays() const {
  const std::unordered_set<std::string> askAgain(_state.askAgain.begin(), _state.askAgain.end());
  return std::count_if(_notes.days.begin(), _notes.days.end(), [&](const MessagesDayRecord& day) {
    return !day.meetups || (!askAgain.empty() && askAgain.contains(day.id()));
  });
}

}  // namespace pellora
