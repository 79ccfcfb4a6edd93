#include "Adapters/Linux/Desktop/SessionAppInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>

#include "Adapters/Linux/Desktop/ApplicationInterface.h"
#include "Adapters/Linux/Desktop/SessionBusAddress.h"

namespace pellora {

namespace {

constexpr int kPatience = 3000;  // milliseconds for the first instance to answer

const QString kName = QLatin1String(SessionAppInstance::kBusName);
const QString kPath = QLatin1String(SessionAppInstance::kObjectPath);

void activateOther(const QDBusConnection& bus, const std::string& token) {
  QDBusMessage call = QDBusMessage::createMethodCall(kName, kPath, QStringLiteral("org.freedesktop.Application"),
                                                     QStringLiteral("Activate"));
  QVariantMap platformData;
  if (!token.empty())
    for (const char* key : {ApplicationInterface::kActivationToken, ApplicationInterface::kStartupId})
      platformData.insert(QLatin1String(key), QString::fromStdString(token));
  call << platformData;
  bus.call(call, QDBus::Block, kPatience);
}

}  // namespace

SessionAppInstance::~SessionAppInstance() {
  if (!_busObject) return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.unregisterService(kName);
  bus.unregisterObject(kPath);
}

bool SessionAppInstance::claim(Activated activated, Later later, const std::string& token) {
  const Claim claim{std::move(activated), later, token};
  return claimOnBus(claim) && claimLock(claim);
}

bool SessionAppInstance::claimOnBus(const Claim& claim) {
  if (!SessionBusAddress::find()) return true;
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return true;
  // Calls may come as soon as the name is there, so the object comes first.
  _busObject = std::make_unique<QObject>();
  new ApplicationInterface(_busObject.get(), claim.activated);
  bus.registerObject(kPath, _busObject.get(), QDBusConnection::ExportAdaptors);
  const auto reply = bus.interface()->registerService(kName, QDBusConnectionInterface::DontQueueService,
                                                      QDBusConnectionInterface::DontAllowReplacement);
  if (reply.isValid() && reply.value() != QDBusConnectionInterface::ServiceRegistered) {
    bus.unregisterObject(kPath);
    _busObject.reset();
    if (claim.later == Later::showsFirst) activateOther(bus, claim.token);
    return false;
  }
  return true;
}

bool SessionAppInstance::claimLock(const Claim& claim) {
  const auto lockFile = InstanceLock::file(_sharedFolder);
  if (!lockFile) return true;
  const std::filesystem::path socket = std::filesystem::path(*lockFile).replace_extension(".sock");
  auto lock = InstanceLock::take(_sharedFolder);
  // A lock that nobody answers for belongs to a read from the command line, which ends soon.
  if (!lock && (claim.later == Later::showsFirst ? ActivationSocket::send(socket, claim.token)
                                                 : ActivationSocket::isHeard(socket)))
    return false;
  if (lock) _lock.emplace(std::move(*lock));
  _socket = std::make_unique<ActivationSocket>(socket, claim.activated);
  return true;
}

}  // namespace pellora
