#include "Companion/PeopleImportCommand.h"

#include "Adapters/Linux/FileLock.h"
#include "Companion/CompanionFailure.h"
#include "Companion/CompanionJson.h"
#include "Companion/ImportOutcome.h"
#include "Companion/InputFile.h"
#include "Companion/InterruptionGuard.h"
#include "Companion/KeyState.h"
#include "Companion/PeopleMerge.h"
#include "Companion/PeopleParser.h"
#include "Companion/PeopleStore.h"
#include "Companion/Progress.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"

namespace pellora {

namespace {

constexpr std::chrono::seconds kLockPatience{30};
constexpr char kLockFile[] = "people.lock";

// Held while the people file is read, changed and written.
FileLock takeLock(const CompanionContext& context) {
  auto lock = context.runtime ? FileLock::onFile(*context.runtime / kLockFile, kLockPatience) : std::nullopt;
  if (!lock)
    throw CompanionFailure("Another import is at work, or there is no runtime folder for its lock; try again.");
  return std::move(*lock);
}

// The key that is there, else a new one. Throws CompanionFailure.
ExchangeKey keyForWriting(const CompanionContext& context, const KeyState& state, bool& madeKey) {
  if (state.key) return *state.key;
  if (state.kind != KeyState::Kind::none) throw CompanionFailure(state.sentence());
  if (const auto key = ExchangeKeychain::loadOrCreate(context.secrets)) {
    madeKey = true;
    return *key;
  }
  const KeyState after = KeyState::find(context.secrets);
  throw CompanionFailure(after.kind == KeyState::Kind::none ? "The secret store does not take the exchange key."
                                                            : after.sentence());
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
  const FileLock lock = takeLock(context);
  const KeyState state = KeyState::find(context.secrets);
  const PeopleStore store = PeopleStore::find(context, state.key);
  if (store.kind == PeopleStore::Kind::unreadable && !replaces) {
    throw CompanionFailure("The people file exists but does not open" +
                           std::string(state.key ? " with the exchange key" : " without the exchange key") +
                           "; nothing was changed (--replace writes it anew).");
  }
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
