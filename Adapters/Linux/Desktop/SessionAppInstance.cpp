#include "Adapters/Linux/Desktop/SessionAppInstance.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>
#include <array>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

constexpr std::size_t kLongestToken = 512;  // bytes

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
  const std::string text = path.string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (text.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, text.c_str(), text.size());
  return address;
}

FileDescriptor makeSocket() {
  return FileDescriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

}  // namespace

bool ActivationSocket::send(const std::filesystem::path& path, const std::string& token) {
  const auto address = addressOf(path);
  const FileDescriptor socket = makeSocket();
  const std::string_view sent = std::string_view(token).substr(0, kLongestToken);
  return address && socket.isOpen() &&
         sendto(socket.number(), sent.data(), sent.size(), 0, reinterpret_cast<const sockaddr*>(&*address),
                sizeof *address) == static_cast<ssize_t>(sent.size());
}

ActivationSocket::ActivationSocket(std::filesystem::path path, AppInstance::Activated activated)
    : _path(std::move(path)), _socket(makeSocket()) {
  const auto address = addressOf(_path);
  if (!address || !_socket.isOpen()) return;
  unlink(_path.c_str());
  if (bind(_socket.number(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) return;
  _notifier = std::make_unique<QSocketNotifier>(_socket.number(), QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated,
                   [descriptor = _socket.number(), activated = std::move(activated)] {
                     std::array<char, kLongestToken> bytes;
                     std::string token;
                     ssize_t size = 0;
                     while ((size = recv(descriptor, bytes.data(), bytes.size(), 0)) >= 0)
                       token.assign(bytes.data(), static_cast<std::size_t>(size));
                     activated(token);
                   });
}

ActivationSocket::~ActivationSocket() {
  if (_notifier) unlink(_path.c_str());
}

namespace {

constexpr std::chrono::milliseconds kRetryInterval(10);
constexpr int kAnswerPatience = 3000;  // milliseconds for the first instance to answer

const QString kName = QLatin1String(SessionAppInstance::kBusName);
const QString kObject = QLatin1String(SessionAppInstance::kObjectPath);

void activateOther(const QDBusConnection& bus, const std::string& token) {
  QDBusMessage call = QDBusMessage::createMethodCall(kName, kObject, QStringLiteral("org.freedesktop.Application"),
                                                     QStringLiteral("Activate"));
  QVariantMap platformData;
  if (!token.empty())
    for (const char* key : {ApplicationInterface::kActivationToken, ApplicationInterface::kStartupId})
      platformData.insert(QLatin1String(key), QString::fromStdString(token));
  call << platformData;
  bus.call(call, QDBus::Block, kAnswerPatience);
}

// It may have taken the lock only just now and not listen yet.
void activateHolder(const std::filesystem::path& socket, const std::string& token) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kAnswerPatience);
  while (!ActivationSocket::send(socket, token) && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(kRetryInterval);
}

}  // namespace

SessionAppInstance::~SessionAppInstance() {
  if (!_busObject) return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.unregisterService(kName);
  bus.unregisterObject(kObject);
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
  bus.registerObject(kObject, _busObject.get(), QDBusConnection::ExportAdaptors);
  const auto reply = bus.interface()->registerService(kName, QDBusConnectionInterface::DontQueueService,
                                                      QDBusConnectionInterface::DontAllowReplacement);
  if (reply.isValid() && reply.value() != QDBusConnectionInterface::ServiceRegistered) {
    bus.unregisterObject(kObject);
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
