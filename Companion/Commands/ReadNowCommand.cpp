#include "Companion/Commands/ReadNowCommand.h"

#include <QDBusConnectionInterface>

#include "Adapters/Linux/Desktop/DBusNotificationCenter.h"
#include "Adapters/Linux/Desktop/PrivateBusConnection.h"
#include "Adapters/Linux/Desktop/SessionBusAddress.h"
#include "Companion/Output/CompanionFailure.h"
#include "PelloraMessagesCore/HelperReadRequest.h"

namespace pellora {

namespace {

constexpr char kHelperName[] = "app.pellora.Messages";  // the helper owns it on the bus while it runs

}  // namespace

CommandResult ReadNowCommand::run(const CompanionContext&) const {
  const auto address = SessionBusAddress::find();
  if (!address) throw CompanionFailure("There is no session bus to ask the helper on.");
  PrivateBusConnection connection(*address);
  if (!connection.isConnected() || connection.bus().interface() == nullptr)
    throw CompanionFailure("The session bus does not answer.");
  const bool isRunning = connection.bus().interface()->isServiceRegistered(QLatin1String(kHelperName));
  if (!isRunning) throw CompanionFailure("The helper is not running; start pellora-for-messages.");
  DBusNotificationCenter center;
  if (!HelperReadRequest::post(center)) throw CompanionFailure("The session bus did not take the request.");
  return {json ? "{\"asked\":true}\n" : "Asked the helper to read now.\n", {}};
}

}  // namespace pellora
