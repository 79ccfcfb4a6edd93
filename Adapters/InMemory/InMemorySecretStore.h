// Secrets that end with the process. A test may lock the store, take it away or put a value in.
#pragma once

#include <atomic>
#include <list>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

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

}  // namespace pellora
