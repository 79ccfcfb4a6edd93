#include "Adapters/Linux/Desktop/StatusNotifierHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

#include "Adapters/Linux/Desktop/SessionBusAddress.h"

namespace pellora {

namespace {

const QString kService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kPath = QStringLiteral("/StatusNotifierWatcher");
const QString kHostRegistered = QStringLiteral("StatusNotifierHostRegistered");

}  // namespace

void StatusNotifierHost::observe(std::function<void()> appeared) {
  _appeared = std::move(appeared);
  _preference.setSingleShot(true);
  connect(&_preference, &QTimer::timeout, this, [this] {
    if (_olderPlace && _olderPlace->isThere()) report();
  });
  watchBus();
  _olderPlace = std::make_unique<XEmbedTray>([this] { _preference.start(kPreference); });
}

void StatusNotifierHost::watchBus() {
  if (!SessionBusAddress::find()) return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  _watcher = std::make_unique<QDBusServiceWatcher>(kService, bus, QDBusServiceWatcher::WatchForRegistration);
  connect(_watcher.get(), &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHost::ask);
  bus.connect(kService, kPath, kService, kHostRegistered, this, SLOT(ask()));
  ask();
}

void StatusNotifierHost::ask() {
  QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                     QStringLiteral("Get"));
  call << kService << QStringLiteral("IsStatusNotifierHostRegistered");
  call.setAutoStartService(false);
  auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    watcher->deleteLater();
    if (!reply.isError() && reply.value().variant().toBool()) report();
  });
}

void StatusNotifierHost::report() {
  if (!_appeared) return;
  if (_watcher) QDBusConnection::sessionBus().disconnect(kService, kPath, kService, kHostRegistered, this, SLOT(ask()));
  _watcher.reset();
  _olderPlace.reset();
  _preference.stop();
  const std::function<void()> appeared = std::exchange(_appeared, nullptr);
  appeared();
}

}  // namespace pellora
