#include "Adapters/Linux/Desktop/DBusSignals.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <algorithm>
#include <cstdlib>
#include <optional>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

struct SignalName {
  QString interface;
  QString member;
  QString path;  // the interface's name as an object path
};

// Whether the bus takes this as one element of a name.
bool isElement(std::string_view text) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
  return !text.empty() && isLetter(text.front()) &&
         std::ranges::all_of(text, [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

// Absent for a name that the bus would not take: an interface has two elements at least.
std::optional<SignalName> signalName(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (std::ranges::count(name, '.') < 2) return std::nullopt;
  for (std::size_t begin = 0; begin <= name.size();) {
    const std::size_t end = std::min(name.find('.', begin), name.size());
    if (!isElement(std::string_view(name).substr(begin, end - begin))) return std::nullopt;
    begin = end + 1;
  }
  std::string path = "/" + name.substr(0, dot);
  std::ranges::replace(path, '.', '/');
  return SignalName{QString::fromStdString(name.substr(0, dot)), QString::fromStdString(name.substr(dot + 1)),
                    QString::fromStdString(path)};
}

class DBusObserver : public NotificationObserver {
 public:
  DBusObserver(std::shared_ptr<PrivateBusConnection> connection, std::function<void()> handler)
      : _connection(std::move(connection)), _receiver([handler = std::move(handler)](bool) { handler(); }) {}

  bool listen(const SignalName& name) {
    return _connection->bus().connect(QString(), name.path, name.interface, name.member, &_receiver,
                                      BusSignalReceiver::plainSlot());
  }

 private:
  std::shared_ptr<PrivateBusConnection> _connection;
  BusSignalReceiver _receiver;
};

}  // namespace

DBusNotificationCenter::DBusNotificationCenter() = default;
DBusNotificationCenter::~DBusNotificationCenter() = default;

PrivateBusConnection* DBusNotificationCenter::connection() {
  if (_connection && _connection->isConnected()) return _connection.get();
  const auto address = SessionBusAddress::find();
  if (!address) return nullptr;
  auto fresh = std::make_shared<PrivateBusConnection>(*address);
  if (!fresh->isConnected()) return nullptr;
  _connection = std::move(fresh);
  return _connection.get();
}

bool DBusNotificationCenter::post(const std::string& name) {
  const auto signal = signalName(name);
  PrivateBusConnection* bus = signal ? connection() : nullptr;
  if (bus == nullptr) return false;
  const QDBusMessage message = QDBusMessage::createSignal(signal->path, signal->interface, signal->member);
  return bus->bus().send(message) && bus->flush();
}

std::unique_ptr<NotificationObserver> DBusNotificationCenter::observe(const std::string& name,
                                                                      std::function<void()> handler) {
  const auto signal = signalName(name);
  if (!signal || connection() == nullptr) return nullptr;
  auto observer = std::make_unique<DBusObserver>(_connection, std::move(handler));
  if (!observer->listen(*signal) || !_connection->flush()) return nullptr;
  return observer;
}

namespace {

constexpr char kStandardAddress[] = "unix:path=/run/dbus/system_bus_socket";

class LogindObserver : public SleepObserver {
 public:
  LogindObserver(const std::string& busAddress, std::function<void()> aboutToSleep, std::function<void()> resumed)
      : _connection(busAddress),
        _receiver([aboutToSleep = std::move(aboutToSleep), resumed = std::move(resumed)](bool sleeping) {
          sleeping ? aboutToSleep() : resumed();
        }) {}

  bool listen() {
    return _connection.isConnected() &&
           _connection.bus().connect(QStringLiteral("org.freedesktop.login1"),
                                     QStringLiteral("/org/freedesktop/login1"),
                                     QStringLiteral("org.freedesktop.login1.Manager"),
                                     QStringLiteral("PrepareForSleep"), &_receiver, BusSignalReceiver::truthSlot()) &&
           _connection.flush();
  }

 private:
  PrivateBusConnection _connection;
  BusSignalReceiver _receiver;
};

}  // namespace

LogindSleepNotice::LogindSleepNotice() {
  const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
  _busAddress = address != nullptr && *address != '\0' ? address : kStandardAddress;
}

std::unique_ptr<SleepObserver> LogindSleepNotice::observe(std::function<void()> aboutToSleep,
                                                          std::function<void()> resumed) {
  auto observer = std::make_unique<LogindObserver>(_busAddress, std::move(aboutToSleep), std::move(resumed));
  if (!observer->listen()) return nullptr;
  return observer;
}

namespace {

constexpr uint kPrefersDark = 1;

const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");

}  // namespace

void PortalAppearance::observe(std::function<void(bool prefersDark)> changed) {
  const bool isFirst = !_changed;
  _changed = std::move(changed);
  if (!SessionBusAddress::find() || !QDBusConnection::sessionBus().isConnected()) return;
  if (isFirst) {
    // The library looks up the slot's parameter types by name and knows this one only once it is registered.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection::sessionBus().connect(DesktopPortal::kService, DesktopPortal::kPath, kInterface,
                                          QStringLiteral("SettingChanged"), this,
                                          SLOT(settingChanged(QString, QString, QDBusVariant)));
  }
  ask();
}

void PortalAppearance::ask() {
  QDBusMessage call =
      QDBusMessage::createMethodCall(DesktopPortal::kService, DesktopPortal::kPath, kInterface, QStringLiteral("Read"));
  call << kAppearance << kColorScheme;
  auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (!reply.isError()) take(reply.value().variant());
    watcher->deleteLater();
  });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group == kAppearance && key == kColorScheme) take(value.variant());
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
