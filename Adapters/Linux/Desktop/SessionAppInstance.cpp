#include "Adapters/Linux/Desktop/SessionAppInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>
#include <chrono>
#include <thread>

#include "Adapters/Linux/Desktop/ApplicationInterface.h"
#include "Adapters/Linux/Desktop/SessionBusAddress.h"

namespace pellora {

namespace {

constexpr std::chrono::milliseconds kRetryInterval(10);
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

// It may have taken the lock only just now and not listen yet.
void activateHolder(const std::filesystem::path& socket, const std::string& token) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatience);
  while (!ActivationSocket::send(socket, token) && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(kRetryInterval);
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
  const auto lockFile = InstanceLock::file(_sharedFolder, InstanceLock::Kind::helper);
  if (!lockFile) return true;
  const std::filesystem::path socket = std::filesystem::path(*lockFile).replace_extension(".sock");
  _lock = InstanceLock::take(_sharedFolder, InstanceLock::Kind::helper);
  if (!_lock) {
    if (claim.later == Later::showsFirst) activateHolder(socket, claim.token);
    return false;
  }
  _readLock = InstanceLock::take(_sharedFolder, InstanceLock::Kind::read);
  _socket = std::make_unique<ActivationSocket>(socket, claim.activated);
  return true;
}

}  // namespace pellora
