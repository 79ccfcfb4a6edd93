#include "Companion/Commands/PeopleEdit.h"

#include <algorithm>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/People/StoreHandles.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

constexpr std::chrono::seconds kLockPatience{30};
constexpr char kLockFile[] = "people.lock";

// Held while the people file is read, changed and written.
std::shared_ptr<void> takeLock(const CompanionContext& context) {
  auto lock = context.runtime ? platform_adapters::lock(*context.runtime / kLockFile, kLockPatience) : nullptr;
  if (!lock)
    throw CompanionFailure(
        "Another change of the people is at work, or there is no runtime folder for its lock; "
        "try again.");
  return lock;
}

// The state with a key, or with none although the store can be asked: one may be made then.
KeyState keyState(const CompanionContext& context) {
  KeyState state = KeyState::find(context.secrets);
  if (!state.key && state.kind != KeyState::Kind::none) throw CompanionFailure(state.sentence());
  return state;
}

// The key that is there, else a new one.
ExchangeKey keyForWriting(const CompanionContext& context, const KeyState& state, bool& madeKey) {
  if (state.key) return *state.key;
  std::string reason;
  const auto key = ExchangeKeychain::loadOrCreate(context.secrets, &reason);
  // A keyring that takes no key is as good as none.
  if (!key) throw CompanionFailure(KeyState{KeyState::Kind::unavailable, reason, {}}.sentence());
  madeKey = true;
  return *key;
}

}  // namespace

PeopleEdit::PeopleEdit(const CompanionContext& context, Present present) : _context(context) {
  if (!context.folder) throw CompanionFailure("There is no home folder to keep the people file in.");
  _lock = takeLock(context);
  _key = keyState(context);
  _store = PeopleStore::find(context, _key.key);
  if (present == Present::mayBeLost || _store.file || _store.kind == PeopleStore::Kind::missing) return;
  std::string sentence = _store.sentence(_key.key.has_value());
  sentence.pop_back();
  const bool isOnlyForThisKey = _store.kind == PeopleStore::Kind::sealed && _key.key;
  throw CompanionFailure(sentence + "; nothing was changed" +
                         (isOnlyForThisKey ? " (people import --replace writes it again)." : "."));
}

PeopleEdit::Done PeopleEdit::write(std::vector<HelperPerson> people) {
  Done done;
  const InterruptionGuard guard;
  const ExchangeKey key = keyForWriting(_context, _key, done.madeKey);
  const std::vector<HelperPerson> before = _store.people();
  if (_store.file && before == people) return done;
  const HelperPeopleFile file{_context.now, std::move(people)};
  file.write(key, _context.folder);
  for (const HelperPerson& person : before) {
    const bool stays = std::any_of(file.people.begin(), file.people.end(),
                                   [&person](const HelperPerson& other) { return other.id == person.id; });
    if (stays) continue;
    std::error_code error;
    const auto record = *_context.folder / HelperExchange::kLatelyFolder / (person.id.toString() + ".json");
    const bool isAbsent =
        std::filesystem::symlink_status(record, error).type() == std::filesystem::file_type::not_found;
    if (!isAbsent && !MessagesLatelyInbox::remove(_context.folder, person.id))
      done.recordsLeft.push_back(personTitle(person, before));
  }
  platform_adapters::askHelperToRead();
  return done;
}

}  // namespace pellora
