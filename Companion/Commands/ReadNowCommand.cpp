#include "Companion/Commands/ReadNowCommand.h"

#include "Companion/Output/CompanionFailure.h"
#include "Companion/PlatformAdapters.h"

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

}  // namespace pellora
