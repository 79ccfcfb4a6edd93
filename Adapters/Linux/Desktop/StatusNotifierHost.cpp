#include "Adapters/Linux/Desktop/StatusNotifierHost.h"

#include <xcb/xcb.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <cstdlib>
#include <string>
#include <utility>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

template <class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

std::uint32_t atom(xcb_connection_t* connection, const std::string& name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
  return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

}  // namespace

XEmbedTray::XEmbedTray(std::function<void()> appeared) : _appeared(std::move(appeared)) {
  if (std::getenv("DISPLAY") == nullptr) return;
  int screen = 0;
  _connection = xcb_connect(nullptr, &screen);
  if (xcb_connection_has_error(_connection) != 0) return;
  _selection = atom(_connection, "_NET_SYSTEM_TRAY_S" + std::to_string(screen));
  _manager = atom(_connection, "MANAGER");
  // A new place announces itself to the root window of its screen.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(_connection));
  for (; screen > 0 && screens.rem > 1; --screen) xcb_screen_next(&screens);
  xcb_change_window_attributes(_connection, screens.data->root, XCB_CW_EVENT_MASK, &events);
  xcb_flush(_connection);
  _notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(_connection), QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] { takeEvents(); });
  if (isThere()) _appeared();
}

XEmbedTray::~XEmbedTray() {
  _notifier.reset();
  if (_connection != nullptr) xcb_disconnect(_connection);
}

bool XEmbedTray::isThere() const {
  if (_connection == nullptr || xcb_connection_has_error(_connection) != 0) return false;
  const auto cookie = xcb_get_selection_owner(_connection, _selection);
  const Owned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(_connection, cookie, nullptr),
                                                     &std::free);
  return reply && reply->owner != XCB_WINDOW_NONE;
}

void XEmbedTray::takeEvents() {
  bool isAnnounced = false;
  while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(_connection), &std::free}) {
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) continue;
    const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
    isAnnounced |= message->type == _manager && message->data.data32[1] == _selection;
  }
  // The server is gone, and with it every place for items; the descriptor would be readable for ever.
  if (xcb_connection_has_error(_connection) != 0) _notifier->setEnabled(false);
  if (isAnnounced) _appeared();
}

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
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
  _watcher = std::make_unique<QDBusServiceWatcher>(kWatcher, bus, QDBusServiceWatcher::WatchForRegistration);
  connect(_watcher.get(), &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHost::ask);
  bus.connect(kWatcher, kWatcherPath, kWatcher, kHostRegistered, this, SLOT(ask()));
  ask();
}

void StatusNotifierHost::ask() {
  QDBusMessage call = QDBusMessage::createMethodCall(
      kWatcher, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  call << kWatcher << QStringLiteral("IsStatusNotifierHostRegistered");
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
  if (_watcher)
    QDBusConnection::sessionBus().disconnect(kWatcher, kWatcherPath, kWatcher, kHostRegistered, this, SLOT(ask()));
  _watcher.reset();
  _olderPlace.reset();
  _preference.stop();
  const std::function<void()> appeared = std::exchange(_appeared, nullptr);
  appeared();
}

}  // namespace pellora
