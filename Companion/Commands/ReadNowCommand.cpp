#include "Companion/Commands/Commands.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

CommandResult ReadNowCommand::run(const CompanionContext&) const {
  using platform_adapters::HelperRequest;
  switch (platform_adapters::askHelperToRead()) {
    case HelperRequest::asked:
      return {json ? "{\"asked\":true}\n" : "Asked the helper to read now.\n", {}};
    case HelperRequest::noBus:
      throw CompanionFailure("There is no session bus to ask the helper on.");
    case HelperRequest::busSilent:
      throw CompanionFailure("The session bus does not answer.");
    case HelperRequest::notRunning:
      throw CompanionFailure("The helper is not running; start pellora-for-messages.");
    case HelperRequest::notTaken:
      throw CompanionFailure("The session bus did not take the request.");
  }
  return {};
}

CommandResult RereadCommand::run(const CompanionContext& context) const {
  const ExchangeKey key = context.key();
  if (!context.folder) throw CompanionFailure("There is no home folder, so no helper to ask.");
  const std::size_t days = HelperDayNotes::load(key, context.folder).days.size();
  HelperState::requestReread(key, context.folder,
                             language ? HelperState::Reread::language : HelperState::Reread::store);
  const bool isAsked = platform_adapters::askHelperToRead() == platform_adapters::HelperRequest::asked;
  if (json) return {JsonValue::object({{"days", days}, {"asked", isAsked}}).dump() + "\n", {}};
  std::string text = "Everything is read again at the next read";
  if (language) text += ", and the model is asked again about " + display::counted(days, "day", "days");
  text += isAsked ? "; the helper begins now.\n" : ".\n";
  if (!language) text += "The notes hold " + display::counted(days, "day", "days") + " of texts.\n";
  return {text, {}};
}

}  // namespace pellora
