#include <cstdlib>
#include <string>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/KeyState.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

CommandResult KeyCommand::run(const CompanionContext& context) const {
  const KeyState state = KeyState::find(context.secrets);
  CommandResult result;
  if (json) result.output = companion_json::text(state);
  if (!state.key) result.complaint = state.sentence();
  if (!json && state.key) result.output = state.sentence() + "\n";
  return result;
}

CommandResult KeyPlaceCommand::run(const CompanionContext&) const {
  place == Place::file ? platform_adapters::useKeyFile() : platform_adapters::useKeyring();
  const std::string name = place == Place::file ? "file" : "keyring";
  if (json) return {JsonValue::object({{"place", name}}).dump() + "\n", {}};
  std::string text =
      "The exchange key is kept in the " + (place == Place::file ? std::string("key file") : name) + " from now on";
  text += std::getenv("PELLORA_SECRET_STORE") == nullptr ? "." : ", except where PELLORA_SECRET_STORE is set, as here.";
  return {text + " A helper that is running notices when it is started again.\n", {}};
}

}  // namespace pellora
