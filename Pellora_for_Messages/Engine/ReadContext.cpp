#include "Pellora_for_Messages/Engine/ReadContext.h"

#include <charconv>
#include <system_error>
#include <utility>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

void addJoined(Fnv1a& hash, const std::vector<std::string>& texts) {
  for (std::size_t index = 0; index < texts.size(); ++index) {
    if (index > 0) hash.add(",");
    hash.add(texts[index]);
  }
}

std::string digitsOf(const Fnv1a& hash) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, hash.hash(), 16).ptr;
  return std::string(digits, end);
}

}  // namespace

std::string peopleFingerprint(const std::vector<HelperPerson>& people) {
  Fnv1a fingerprint;
  for (std::size_t index = 0; index < people.size(); ++index) {
    if (index > 0) fingerprint.add("|");
    fingerprint.add(people[index].id.toString());
    fingerprint.add(":");
    addJoined(fingerprint, people[index].phones);
    fingerprint.add(":");
    addJoined(fingerprint, people[index].emails);
  }
  return digitsOf(fingerprint);
}

std::string namesFingerprint(const std::vector<HelperPerson>& people) {
  Fnv1a fingerprint;
  for (const HelperPerson& person : people) {
    fingerprint.add(person.firstName);
    fingerprint.add("|");
  }
  return digitsOf(fingerprint);
}

namespace {

// The state then asks for what the request asked for, so a read that fails does not lose it.
void takeOver(HelperState::Reread request, const ReadContext& context, ReadMemory& memory) {
  HelperState& state = memory.state;
  state.lastRead.reset();
  state.waiting.clear();
  state.model.pausedUntil.reset();
  if (request == HelperState::Reread::language) {
    state.analyzed.clear();
    state.askAgain.clear();
    if (memory.stored)
      for (const MessagesDayRecord& day : memory.stored->notes.days) state.askAgain.push_back(day.id());
    for (LatelyAnswer& answer : state.lately) {
      answer.isAnswered = false;
      answer.triesUsed = 0;
      answer.nextTryAt = Instant();
    }
  }
  state.save(context.key, context.folder);
  HelperState::removeRereadRequest(context.folder);
}

// Versions before the state file kept the analyzed days of an unfinished read in a file of their own, sealed as notes.
void takeOverEarlierFile(const ReadContext& context, ReadMemory& memory) {
  std::error_code error;
  if (!context.folder || !std::filesystem::exists(*context.folder / HelperExchange::kEarlierStateFile, error)) return;
  const std::optional<std::string> json =
      SealedFile::read(context.key, context.folder, HelperExchange::kEarlierStateFile, HelperExchange::kNotesContext);
  std::optional<HelperDayNotes> days = json ? ExchangeCoding::decode<HelperDayNotes>(*json) : std::nullopt;
  if (days && memory.isStateLost) {
    memory.state.analyzed = std::move(days->days);
    memory.state.save(context.key, context.folder);
  }
  std::filesystem::remove(*context.folder / HelperExchange::kEarlierStateFile, error);
}

}  // namespace

ReadContext::ReadContext(Instant now, ExchangeKey key, std::vector<HelperPerson> people, LocalCalendar calendar)
    : now(now),
      key(std::move(key)),
      people(std::move(people)),
      calendar(std::move(calendar)),
      matcher(this->people),
      fingerprint(peopleFingerprint(this->people)),
      names(namesFingerprint(this->people)),
      windowStart(now - kReadWindow),
      cutoffDay(this->calendar.dayString(windowStart)) {}

std::string ReadContext::firstNameOf(const Uuid& person) const {
  const auto name = matcher.firstNames().find(person);
  return name == matcher.firstNames().end() ? std::string() : name->second;
}

std::string ReadContext::zoneMark(Instant at) const {
  // The zones of the world differ in which day it is and where days begin; how a zone is called says less.
  std::string mark = calendar.dayString(at) + " ";
  std::int64_t previous = -1;
  for (std::int64_t days = 0; days <= kWindowDays; ++days) {
    constexpr std::int64_t kDay = 86'400;
    const std::int64_t second = wholeSeconds(calendar.startOfDay(at - std::chrono::seconds(days * kDay))) % kDay;
    if (second != previous) mark += std::to_string(days) + ":" + std::to_string(second) + " ";
    previous = second;
  }
  return mark;
}

ReadSettings::ReadSettings(const UserDefaults& defaults)
    : lastRowID(defaults.integer(HelperEngineKeys::kLastRow).value_or(0)),
      fingerprint(defaults.text(HelperEngineKeys::kPeople)),
      lastReadAt(defaults.date(HelperEngineKeys::kLastRead)),
      notesMark(defaults.text(HelperEngineKeys::kNotesMark)),
      areNotesCurrent(defaults.integer(HelperEngineKeys::kNotesVersion) == HelperEngineKeys::kCurrentNotesVersion) {}

ReadMemory ReadMemory::load(const ReadContext& context, const ReadSettings& settings) {
  ReadMemory memory{settings, {}, {}, false};
  if (settings.areNotesCurrent) memory.stored = HelperDayNotes::loadStored(context.key, context.folder);
  std::optional<HelperState> state = HelperState::load(context.key, context.folder);
  memory.isStateLost = !state;
  if (state) memory.state = *std::move(state);
  if (memory.state.notesVersion != HelperEngineKeys::kCurrentNotesVersion) {
    memory.state.analyzed.clear();
    memory.state.waiting.clear();
    memory.state.notesVersion = HelperEngineKeys::kCurrentNotesVersion;
  }
  takeOverEarlierFile(context, memory);
  if (const auto request = HelperState::requestedReread(context.key, context.folder))
    takeOver(*request, context, memory);
  return memory;
}

}  // namespace pellora
