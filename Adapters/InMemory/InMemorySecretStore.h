// Secrets that end with the process. A test may lock it, take it away or put a value in.
#pragma once

#include <utility>
#include <vector>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

class InMemorySecretStore : public SecretStore {
 public:
  enum class State { open, locked, unavailable, withoutCollection };

  SecretLookup find(const SecretAttributes& attributes) override;
  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override;

  void setState(State state) { _state = state; }
  std::size_t count() const { return _secrets.size(); }
  const std::string& lastLabel() const { return _lastLabel; }

 private:
  State _state = State::open;
  std::vector<std::pair<SecretAttributes, SecretBytes>> _secrets;
  std::string _lastLabel;
};

}  // namespace pellora
