#include <QCoroTask>
#include <cstdlib>
#include <string>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/StatusReport.h"
#include "Companion/CompanionContext.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/Terminal.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

CommandResult StatusCommand::run(const CompanionContext& context) const {
  StatusReport report;
  {
    const Progress progress("Looking at the Messages store and the model server");
    report = StatusReport::gather(context);
    report.presence = platform_adapters::helperPresence();
    report.trayObstacle = platform_adapters::trayObstacle();
    const auto model = platform_adapters::languageModel();
    report.model = QCoro::waitFor(model->report());
  }
  return {json ? companion_json::text(report) : report.text(context), {}};
}

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

CommandResult ReadNowCommand::run(const CompanionContext&) const {
  using platform_adapters::HelperRequest;
  switch (platform_adapters::askHelperToRead()) {
    case HelperRequest::asked:
      return {json ? "{\"asked\":true}\n" : "Asked the helper to read now.\n", {}};
    case HelperRequest::noBus:
      throw CompanionFailure("There is no session bus over which to ask the helper.");
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
