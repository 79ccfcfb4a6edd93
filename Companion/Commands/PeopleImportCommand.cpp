#include "Companion/Commands/PeopleImportCommand.h"

#include "Companion/Commands/CompanionJson.h"
#include "Companion/KeyState.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/InterruptionGuard.h"
#include "Companion/Output/Progress.h"
#include "Companion/People/ImportOutcome.h"
#include "Companion/People/InputFile.h"
#include "Companion/People/PeopleMerge.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/PeopleStore.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"

namespace pellora {

namespace {

constexpr std::chrono::seconds kLockPatience{30};
constexpr char kLockFile[] = "people.lock";

// Held while the people file is read, changed and written.
std::shared_ptr<void> takeLock(const CompanionContext& context) {
  auto lock = context.runtime ? platform_adapters::lock(*context.runtime / kLockFile, kLockPatience) : nullptr;
  if (!lock)
    throw CompanionFailure("Another import is at work, or there is no runtime folder for its lock; try again.");
  return lock;
}

// The state with a key, or with none although the store can be asked: one may be made then. Throws CompanionFailure.
KeyState keyState(const CompanionContext& context) {
  KeyState state = KeyState::find(context.secrets);
  if (!state.key && state.kind != KeyState::Kind::none) throw CompanionFailure(state.sentence());
  return state;
}

// The people file to add to. Throws CompanionFailure when there is one that cannot be read: its people would be lost.
PeopleStore storeToChange(const CompanionContext& context, const KeyState& state, bool replaces) {
  PeopleStore store = PeopleStore::find(context, state.key);
  if (replaces || store.file || store.kind == PeopleStore::Kind::missing) return store;
  std::string sentence = store.sentence(state.key.has_value());
  sentence.pop_back();
  const bool isOnlyForThisKey = store.kind == PeopleStore::Kind::sealed && state.key;
  throw CompanionFailure(sentence + "; nothing was changed" +
                         (isOnlyForThisKey ? " (--replace writes it anew)." : "."));
}

// The key that is there, else a new one. Throws CompanionFailure.
ExchangeKey keyForWriting(const CompanionContext& context, const KeyState& state, bool& madeKey) {
  if (state.key) return *state.key;
  std::string reason;
  const auto key = ExchangeKeychain::loadOrCreate(context.secrets, &reason);
  if (!key) throw CompanionFailure(reason.empty() ? "The secret store does not take the exchange key." : reason);
  madeKey = true;
  return *key;
}

}  // namespace

CommandResult PeopleImportCommand::run(const CompanionContext& context) const {
  ImportedPeople imported;
  {
    const Progress progress(source == "-" ? "Reading standard input" : "Reading " + source);
    imported = parsePeople(input_file::read(source));
  }
  return run(context, imported);
}

CommandResult PeopleImportCommand::run(const CompanionContext& context, const ImportedPeople& imported) const {
  if (imported.problem) throw CompanionFailure(*imported.problem);
  if (!context.folder) throw CompanionFailure("There is no home folder to keep the people file in.");
  ImportOutcome outcome{imported.format, {}, imported.skipped, {}, 0, isTrial, false};
  if (imported.people.empty()) {
    const std::string reasons = imported.skipped.empty() ? "" : imported.skipped.front().reason;
    throw CompanionFailure("There is nobody to take in the " + std::string(formatName(imported.format)) +
                           (reasons.empty() ? "."
                                            : " (" + std::to_string(imported.skipped.size()) +
                                                  " skipped, the first for: " + reasons + ")."));
  }
  const auto lock = takeLock(context);
  const KeyState state = keyState(context);
  const PeopleStore store = storeToChange(context, state, replaces);
  const auto mode = replaces ? PeopleMerge::Mode::replace : PeopleMerge::Mode::add;
  PeopleMerge merge = PeopleMerge::merge(store.people(), imported.people, mode);
  outcome.changes = std::move(merge.changes);
  outcome.shared = SharedHandle::find(merge.people);
  outcome.total = merge.people.size();
  const bool isNew = !store.file || store.file->people != merge.people;
  if (!isTrial) {
    const InterruptionGuard guard;
    const ExchangeKey key = keyForWriting(context, state, outcome.madeKey);
    if (isNew) HelperPeopleFile{context.now, std::move(merge.people)}.write(key, context.folder);
  }
  return {json ? companion_json::text(outcome) : outcome.text(context.style), {}};
}

}  // namespace pellora
