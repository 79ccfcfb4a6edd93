#include "Companion/CompanionContext.h"

#include "Companion/KeyState.h"
#include "Companion/Output/CompanionFailure.h"

namespace pellora {

ExchangeKey CompanionContext::key() const {
  KeyState state = KeyState::find(secrets);
  if (!state.key) throw CompanionFailure(state.sentence());
  return *state.key;
}

}  // namespace pellora
