#include "Adapters/InMemory/InMemoryStorage.h"

#include <cerrno>
#include <utility>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

class Held : public HeldReadLock {
 public:
  explicit Held(std::shared_ptr<void> holder) : _holder(std::move(holder)) {}

 private:
  std::shared_ptr<void> _holder;
};

}  // namespace

std::unique_ptr<HeldReadLock> InMemoryReadLock::tryTake() {
  if (!_holder.expired()) return nullptr;
  const auto holder = std::make_shared<int>();
  _holder = holder;
  return std::make_unique<Held>(holder);
}

class InMemorySecretStore::Observer : public SecretStoreObserver {
 public:
  Observer(std::shared_ptr<Observers> observers, std::function<void()> changed)
      : _observers(std::move(observers)), _place(_observers->insert(_observers->end(), std::move(changed))) {}
  ~Observer() override { _observers->erase(_place); }

 private:
  std::shared_ptr<Observers> _observers;
  Observers::iterator _place;
};

SecretLookup InMemorySecretStore::find(const SecretAttributes& attributes) {
  if (_state == State::locked) return {SecretLookup::Outcome::locked, {}, "The keyring is locked."};
  if (_state == State::unavailable) return {SecretLookup::Outcome::unavailable, {}, "There is no keyring."};
  if (_state == State::withoutCollection)
    return {SecretLookup::Outcome::unavailable, {}, "There is no keyring yet that could keep the key."};
  for (const auto& [known, data] : _secrets)
    if (known == attributes) return {SecretLookup::Outcome::found, data, {}};
  return {};
}

SecretAddition InMemorySecretStore::add(const SecretAttributes& attributes, const std::string& label,
                                        const SecretBytes& data) {
  const SecretLookup lookup = find(attributes);
  switch (lookup.outcome) {
    case SecretLookup::Outcome::found:
      return {SecretAddition::Outcome::duplicate, {}};
    case SecretLookup::Outcome::locked:
      return {SecretAddition::Outcome::locked, lookup.reason};
    case SecretLookup::Outcome::unavailable:
      return {SecretAddition::Outcome::failed, lookup.reason};
    case SecretLookup::Outcome::absent:
      break;
  }
  _secrets.emplace_back(attributes, data);
  _lastLabel = label;
  tellObservers();
  return {SecretAddition::Outcome::added, {}};
}

std::unique_ptr<SecretStoreObserver> InMemorySecretStore::observe(const SecretAttributes&,
                                                                  std::function<void()> changed) {
  return std::make_unique<Observer>(_observers, std::move(changed));
}

void InMemorySecretStore::setState(State state) {
  _state = state;
  tellObservers();
}

void InMemorySecretStore::tellObservers() const {
  const Observers observers = *_observers;  // one of them may end its observation
  for (const std::function<void()>& changed : observers) changed();
}

void InMemoryUserDefaults::requireReadable() const {
  if (_unreadable) throw FileError("read", "defaults", EACCES);
}

void InMemoryUserDefaults::store(const std::vector<Change>& changes) {
  if (_failing) throw FileError("write", "defaults", ENOSPC);
  for (const Change& change : changes) {
    _values[change.first] = change.second;
    _history.push_back(change.first);
  }
}

}  // namespace pellora
