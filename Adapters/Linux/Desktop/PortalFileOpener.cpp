#include "Adapters/Linux/Desktop/PortalFileOpener.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTimer>
#include <chrono>

#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

constexpr uint kSuccess = 0;
constexpr uint kCanceled = 1;                   // by the user, who may be asked which program to use
constexpr std::chrono::seconds kPatience{120};  // for that question

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");

// Where the portal will announce its answer; known before it is asked, so that no answer is missed.
QString requestPath(const QDBusConnection& bus, const QString& token) {
  QString sender = bus.baseService().mid(1);
  sender.replace(QLatin1Char('.'), QLatin1Char('_'));
  return kPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

bool hasDisplay() {
  return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || !qEnvironmentVariableIsEmpty("DISPLAY");
}

std::optional<std::string> openWithoutPortal(const std::function<bool()>& startXdgOpen) {
  if (!hasDisplay()) return "there is no desktop";
  if (QStandardPaths::findExecutable(QStringLiteral("xdg-open")).isEmpty()) return "there is no portal and no xdg-open";
  return startXdgOpen() ? std::nullopt : std::optional<std::string>("xdg-open does not start");
}

}  // namespace

void PortalFileOpener::answered(uint code, const QVariantMap&) {
  _answer = code;
  Q_EMIT hasAnswer();
}

PortalFileOpener::Outcome PortalFileOpener::ask(const std::filesystem::path& file) {
  const auto address = SessionBusAddress::find();
  if (!address) return Outcome::noPortal;
  PrivateBusConnection connection(*address);
  if (!connection.isConnected()) return Outcome::noPortal;
  const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY);
  if (!descriptor.isOpen()) return Outcome::refused;
  QDBusConnection& bus = connection.bus();
  const QString token = QStringLiteral("pellora%1").arg(getpid());
  const QString interface = QStringLiteral("org.freedesktop.portal.Request");
  const QString signal = QStringLiteral("Response");
  bus.connect(kService, requestPath(bus, token), interface, signal, this, SLOT(answered(uint, QVariantMap)));
  QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, QStringLiteral("org.freedesktop.portal.OpenURI"),
                                                     QStringLiteral("OpenFile"));
  call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(descriptor.number()))
       << QVariantMap{{QStringLiteral("handle_token"), token}};
  const QDBusReply<QDBusObjectPath> reply = bus.call(call, QDBus::BlockWithGui);
  if (!reply.isValid()) return Outcome::noPortal;
  if (!_answer) {
    QEventLoop loop;
    connect(this, &PortalFileOpener::hasAnswer, &loop, &QEventLoop::quit);
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
  }
  return !_answer || *_answer == kSuccess || *_answer == kCanceled ? Outcome::opened : Outcome::refused;
}

std::optional<std::string> PortalFileOpener::open(const std::filesystem::path& file,
                                                  const std::function<bool()>& startXdgOpen) {
  PortalFileOpener opener;
  if (opener.ask(file) == Outcome::opened) return std::nullopt;
  return openWithoutPortal(startXdgOpen);
}

}  // namespace pellora
