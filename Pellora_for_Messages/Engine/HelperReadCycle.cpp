#include "Pellora_for_Messages/Engine/HelperReadCycle.h"

#include <algorithm>
#include <type_traits>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "Pellora_for_Messages/Engine/DayAnalysis.h"
#include "Pellora_for_Messages/Engine/DayPlan.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"
#include "Pellora_for_Messages/Engine/StoreReading.h"

namespace pellora {

namespace {

// With nobody left to read for, nothing about anybody stays.
void emptyFiles(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) {
  const std::optional<HelperDayNotes> notes = HelperDayNotes::loadIfReadable(key, folder);
  if (notes && !notes->days.empty()) HelperDayNotes().save(key, folder);
  const std::optional<HelperState> state = HelperState::load(key, folder);
  if (state && *state != HelperState()) HelperState().save(key, folder);
}

std::int64_t countOf(const std::vector<OpenDay>& days) {
  return static_cast<std::int64_t>(days.size());
}

bool hasOpenDay(const std::vector<OpenDay>& days, std::size_t from, const Uuid& person) {
  return std::any_of(days.begin() + static_cast<std::ptrdiff_t>(from), days.end(),
                     [&](const OpenDay& day) { return day.draft.record.personID == person; });
}

}  // namespace

HelperReadCycle::HelperReadCycle(const HelperPlatform& platform, QObject* owner, Delegate& delegate,
                                 std::stop_token stop)
    : _platform(platform), _owner(owner), _delegate(delegate), _stop(std::move(stop)) {}

void HelperReadCycle::requireOwner() const {
  if (_owner.isNull()) throw Abandoned();
}

// Every wait of a read goes through here or through inBackground.
template <class Value>
Task<Value> HelperReadCycle::whileOwned(Task<Value> task) const {
  Value value = co_await task;
  requireOwner();
  co_return value;
}

// Slow work runs off the main thread. It touches only what the read itself owns: neither the delegate nor the
// platform, which may go away meanwhile.
template <class Work>
auto HelperReadCycle::inBackground(Work work) const -> Task<std::invoke_result_t<Work>> {
  if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
    co_await _platform.scheduler.inBackground([&work] { work(); });
    requireOwner();
  } else {
    std::optional<std::invoke_result_t<Work>> result;
    co_await _platform.scheduler.inBackground([&work, &result] { result.emplace(work()); });
    requireOwner();
    co_return *std::move(result);
  }
}

Task<HelperReadCycle::Outcome> HelperReadCycle::run() {
  using Kind = Outcome::Kind;
  _now = _platform.scheduler.now();
  if (!ChatDatabase::canRead(_platform.chatDatabase)) co_return Outcome{Kind::needsFullDiskAccess, {}, _now};
  _delegate.databaseIsReadable();
  std::string failure;
  try {
    std::optional<Shared> shared = co_await loadShared();
    if (!shared || shared->people.empty()) co_return Outcome{Kind::waitingForPellora, {}, _now};
    _delegate.peopleFound(static_cast<std::int64_t>(shared->people.size()));
    Outcome outcome = co_await read(*std::move(shared));
    co_return outcome;
  } catch (const Abandoned&) {
    co_return Outcome{Kind::abandoned, {}, _now};
  } catch (const std::exception& error) {
    failure = error.what();
  }
  co_return Outcome{_owner.isNull() ? Kind::abandoned : Kind::failed, failure, _now};
}

// Absent without a key or without a people file that opens.
Task<std::optional<HelperReadCycle::Shared>> HelperReadCycle::loadShared() const {
  SecretStore* const secrets = &_platform.secrets;
  const std::optional<std::filesystem::path> folder = HelperExchange::folderURL(_platform.container);
  std::optional<Shared> shared = co_await inBackground([secrets, folder]() -> std::optional<Shared> {
    const std::optional<ExchangeKey> key = ExchangeKeychain::load(*secrets);
    if (!key) return std::nullopt;
    std::optional<HelperPeopleFile> file = HelperPeopleFile::read(*key, folder);
    if (!file) return std::nullopt;
    if (file->people.empty()) emptyFiles(*key, folder);
    return Shared{*key, std::move(file->people)};
  });
  co_return shared;
}

Task<HelperReadCycle::Outcome> HelperReadCycle::read(Shared shared) {
  ReadContext context(_now, std::move(shared.key), std::move(shared.people), _platform.calendar());
  context.folder = HelperExchange::folderURL(_platform.container);
  context.chatDatabase = _platform.chatDatabase;
  context.stop = _stop;
  const ReadSettings settings(_platform.defaults);
  ReadMemory memory = co_await inBackground([&] { return ReadMemory::load(context, settings); });
  const bool isThere = co_await isModelThere(memory);
  Findings findings = co_await inBackground([&] {
    StoreReading reading = StoreReading::of(context, memory, isThere);
    DayPlan plan = DayPlan::of(std::move(reading.drafts), context, memory, isThere);
    ReadResults results(context, std::move(memory), plan.records, reading.reread);
    return Findings{std::move(reading), std::move(results), std::move(plan.open)};
  });
  co_await write(findings.results, false);
  if (isThere) co_await workWithModel(context, findings);
  co_await inBackground([&] {
    findings.results.finish(findings.reading);
    findings.results.saveState();
  });
  storeProgress(context, findings);
  co_await inBackground([&] {
    findings.results.trustNotes();
    findings.results.saveState();
  });
  const ModelAccount& account = findings.results.state().model;
  co_return Outcome{Outcome::Kind::finished, {}, _now, findings.reading.isMoreWaiting, account.nextTryAt};
}

// Whether the model can be asked in this read. One that is not there has nothing to be spared from.
Task<bool> HelperReadCycle::isModelThere(ReadMemory& memory) const {
  const bool isAvailable = co_await whileOwned(_platform.languageModel.isAvailable());
  std::optional<Instant>& pausedUntil = memory.state.model.pausedUntil;
  if (!isAvailable) {
    pausedUntil.reset();
    memory.state.model.nextTryAt.reset();
  }
  // A pause that a wrong clock made ends with it.
  const bool isPaused = pausedUntil && *pausedUntil > _now && *pausedUntil <= _now + AskingAgain::kDelays.front();
  co_return isAvailable && !isPaused;
}

Task<void> HelperReadCycle::write(ReadResults& results, bool onlyChanged) {
  _writtenAt = _platform.scheduler.now();
  const Instant writtenAt = _writtenAt;
  const std::size_t count = co_await inBackground([&results, writtenAt, onlyChanged] {
    results.saveNotes();
    return results.writeRecords(writtenAt, onlyChanged);
  });
  _delegate.recordsWritten(static_cast<std::int64_t>(count));
}

Task<void> HelperReadCycle::workWithModel(const ReadContext& context, Findings& findings) {
  ReadResults& results = findings.results;
  ModelTurn turn(_platform.languageModel, _platform.scheduler, _owner);
  if (!findings.open.empty()) {
    results.state().progress = ReadProgress{_now, 0, countOf(findings.open)};
    co_await inBackground([&] { results.saveState(); });
    co_await analyzeDays(turn, context, findings);
  }
  for (const HelperPerson& person : context.people) {
    if (turn.use().questions > 0 && _delegate.isReadAgainWanted()) break;
    if (!hasOpenDay(findings.open, 0, person.id)) co_await askLately(turn, context, results, person.id);
  }
  closeAccount(turn, results.state());
  co_await write(results, true);
}

Task<void> HelperReadCycle::analyzeDays(ModelTurn& turn, const ReadContext& context, Findings& findings) {
  std::vector<OpenDay>& days = findings.open;
  for (std::size_t index = 0; index < days.size() && !turn.isOver(); ++index) {
    if (index > 0 && _delegate.isReadAgainWanted()) co_return;
    OpenDay& day = days[index];
    const Uuid person = day.draft.record.personID;
    _delegate.analysisProgress(static_cast<std::int64_t>(index), countOf(days));
    const bool isAnalyzed = co_await whileOwned(
        DayAnalysis::analyze(turn, day, context.firstNameOf(person), context.calendar, _platform.scheduler.now()));
    if (isAnalyzed) ++turn.use().days;
    findings.results.state().progress->daysDone = static_cast<std::int64_t>(index) + 1;
    co_await keep(day, isAnalyzed, findings.results);
    if (!hasOpenDay(days, index + 1, person)) co_await askLately(turn, context, findings.results, person);
    if (_platform.scheduler.now() >= _writtenAt + kWriteInterval) co_await write(findings.results, true);
  }
}

// Keeps what was answered at once, so that a read that is interrupted loses no work. The lines are of no more use.
Task<void> HelperReadCycle::keep(OpenDay& day, bool isAnalyzed, ReadResults& results) {
  day.draft.lines.clear();
  if (isAnalyzed)
    results.keepAnalyzed(day.waiting.record);
  else if (day.waiting.nextTryAt != Instant())
    results.keepWaiting(day.waiting);
  co_await inBackground([&results] { results.saveState(); });
}

Task<void> HelperReadCycle::askLately(ModelTurn& turn, const ReadContext& context, ReadResults& results, Uuid person) {
  if (turn.isOver()) co_return;
  std::optional<ReadResults::OpenLately> open = results.openLately(person);
  if (!open) co_return;
  LatelyAnswer answer{person, open->question.instructions, open->question.prompt, std::nullopt, false, 0, {}};
  if (const LatelyAnswer* known = results.answerTo(*open)) answer = *known;  // not answered yet, with its tries
  turn.takeFailure();
  std::optional<std::string> summary =
      co_await whileOwned(MessagesModel::latelySummary(turn, std::move(open->days), context.firstNameOf(person)));
  const std::optional<ModelTurn::Failure> failure = turn.takeFailure();
  answer.isAnswered = !failure || !AskingAgain::noteFailure(answer, failure->reason, _platform.scheduler.now());
  if (!failure) answer.summary = std::move(summary);
  results.keepLately(std::move(answer));
  co_await inBackground([&results] { results.saveState(); });
}

// The cost of the read and the time when the model is asked again.
void HelperReadCycle::closeAccount(ModelTurn& turn, HelperState& state) const {
  ModelAccount& account = state.model;
  account.lastFailure.reset();
  if (turn.lastFailure()) account.lastFailure = turn.lastFailure()->text;
  account.pausedUntil.reset();
  account.nextTryAt.reset();
  // Counted from the beginning, so that the read of the next timer tick is not too early.
  if (turn.isOver()) account.pausedUntil = account.nextTryAt = _now + AskingAgain::kDelays.front();
  const auto considerTry = [&account](Instant at) {
    if (!account.nextTryAt || at < *account.nextTryAt) account.nextTryAt = at;
  };
  if (!turn.isOver()) {
    for (const WaitingDay& day : state.waiting) considerTry(day.nextTryAt);
    for (const LatelyAnswer& answer : state.lately)
      if (!answer.isAnswered) considerTry(answer.nextTryAt);
  }
  const ModelUse& use = turn.use();
  if (use.questions == 0) return;
  account.lastRead = use;
  account.total.questions += use.questions;
  account.total.promptTokens += use.promptTokens;
  account.total.answerTokens += use.answerTokens;
  account.total.milliseconds += use.milliseconds;
  account.total.days += use.days;
}

void HelperReadCycle::storeProgress(const ReadContext& context, const Findings& findings) const {
  _platform.defaults.store({{HelperEngineKeys::kLastRow, findings.reading.lastRowID},
                            {HelperEngineKeys::kPeople, context.fingerprint},
                            {HelperEngineKeys::kNotesVersion, HelperEngineKeys::kCurrentNotesVersion},
                            {HelperEngineKeys::kLastRead, _now},
                            {HelperEngineKeys::kNotesMark, findings.results.notesMark()}});
}

}  // namespace pellora
