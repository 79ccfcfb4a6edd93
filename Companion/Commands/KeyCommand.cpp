#include "Companion/Commands/KeyCommand.h"

#include "Companion/Commands/CompanionJson.h"
#include "Companion/KeyState.h"

namespace pellora {

CommandResult KeyCommand::run(const CompanionContext& context) const {
  const KeyState state = KeyState::find(context.secrets);
  CommandResult result;
  if (json) result.output = companion_json::text(state);
  if (!state.key) result.complaint = state.sentence();
  if (!json && state.key) result.output = state.sentence() + "\n";
  return result;
}

}  // namespace pellora
