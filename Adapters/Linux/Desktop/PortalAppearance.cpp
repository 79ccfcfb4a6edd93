#include "Adapters/Linux/Desktop/PortalAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

constexpr uint kPrefersDark = 1;

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

}  // namespace

void PortalAppearance::observe(std::function<void(bool prefersDark)> changed) {
  const bool isFirst = !_changed;
  _changed = std::move(changed);
  if (!SessionBusAddress::find() || !QDBusConnection::sessionBus().isConnected()) return;
  if (isFirst) {
    // The library looks up the slot's parameter types by name and knows this one only once it is registered.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection::sessionBus().connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                                          SLOT(settingChanged(QString, QString, QDBusVariant)));
  }
  ask();
}

void PortalAppearance::ask() {
  QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
  call << kGroup << kKey;
  auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (!reply.isError()) take(reply.value().variant());
    watcher->deleteLater();
  });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group == kGroup && key == kKey) take(value.variant());
}

void PortalAppearance::take(const QVariant& value) {
  // The reply wraps the value twice, the signal once.
  QVariant plain = value;
  while (plain.canConvert<QDBusVariant>()) plain = plain.value<QDBusVariant>().variant();
  bool isNumber = false;
  const uint scheme = plain.toUInt(&isNumber);
  if (isNumber && _changed) _changed(scheme == kPrefersDark);
}

}  // namespace pellora
