// Folder, lock, secrets and settings that end with the process.
#pragma once

#include <atomic>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Ports/Storage.h"

namespace pellora {

// A group folder that a test chooses, or none.
class FixedGroupContainer : public GroupContainer {
 public:
  explicit FixedGroupContainer(std::optional<std::filesystem::path> folder) : _folder(std::move(folder)) {}

  std::optional<std::filesystem::path> folder(const std::string&) const override { return _folder; }

 private:
  std::optional<std::filesystem::path> _folder;
};

// A read lock within one process.
class InMemoryReadLock : public ReadLock {
 public:
  std::unique_ptr<HeldReadLock> tryTake() override;

 private:
  std::weak_ptr<void> _holder;
};

// Secrets that end with the process. A test may lock the store, take it away or put a value in.
class InMemorySecretStore : public SecretStore {
 public:
  enum class State { open, locked, unavailable, withoutCollection };

  SecretLookup find(const SecretAttributes& attributes) override;
  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override;
  std::unique_ptr<SecretStoreObserver> observe(const SecretAttributes& attributes,
                                               std::function<void()> changed) override;
  void close() override { _state = State::unavailable; }

  void setState(State state);
  std::size_t observerCount() const { return _observers->size(); }
  std::size_t count() const { return _secrets.size(); }
  const std::string& lastLabel() const { return _lastLabel; }

 private:
  using Observers = std::list<std::function<void()>>;
  class Observer;

  void tellObservers() const;

  std::atomic<State> _state = State::open;
  std::shared_ptr<Observers> _observers = std::make_shared<Observers>();
  std::vector<std::pair<SecretAttributes, SecretBytes>> _secrets;
  std::string _lastLabel;
};

// Settings that end with the process. A test may make storing fail.
class InMemoryUserDefaults : public UserDefaults {
 public:
  std::optional<std::int64_t> integer(const std::string& key) const override { return value<std::int64_t>(key); }
  std::optional<std::string> text(const std::string& key) const override { return value<std::string>(key); }
  std::optional<Instant> date(const std::string& key) const override { return value<Instant>(key); }
  bool boolean(const std::string& key) const override { return value<bool>(key).value_or(false); }
  void store(const std::vector<Change>& changes) override;

  // Whether storing, or reading, throws FileError.
  void setFailing(bool failing) { _failing = failing; }
  void setUnreadable(bool unreadable) { _unreadable = unreadable; }
  // Keys in the order in which they were stored, repeats included.
  const std::vector<std::string>& history() const { return _history; }

 private:
  void requireReadable() const;
  template <class Type>
  std::optional<Type> value(const std::string& key) const {
    requireReadable();
    const auto found = _values.find(key);
    if (found == _values.end() || !std::holds_alternative<Type>(found->second)) return std::nullopt;
    return std::get<Type>(found->second);
  }

  std::map<std::string, Value> _values;
  std::vector<std::string> _history;
  bool _failing = false;
  bool _unreadable = false;
};

}  // namespace pellora
