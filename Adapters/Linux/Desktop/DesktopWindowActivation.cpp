#include "Adapters/Linux/Desktop/DesktopWindowActivation.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace pellora {

namespace {

constexpr char kToken[] = "XDG_ACTIVATION_TOKEN";
constexpr char kStartupId[] = "DESKTOP_STARTUP_ID";
constexpr std::uint32_t kFromTheUser = 2;  // as task lists and pagers say it; window managers do not refuse it

// The time at the end of a startup identifier ("..._TIME12345").
std::uint32_t timeOf(std::string_view token) {
  constexpr std::string_view kMark = "_TIME";
  std::uint32_t time = 0;
  const std::size_t mark = token.rfind(kMark);
  if (mark != std::string_view::npos)
    std::from_chars(token.data() + mark + kMark.size(), token.data() + token.size(), time);
  return time;
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
  return reply ? reply->atom : XCB_ATOM_NONE;
}

}  // namespace

std::string DesktopWindowActivation::launchToken() {
  for (const char* name : {kToken, kStartupId})
    if (const char* value = std::getenv(name); value != nullptr && *value != '\0') return value;
  return {};
}

void DesktopWindowActivation::useToken(const std::string& token) {
  if (token.empty()) return;
  _time = timeOf(token);
  // The window library hands it to the compositor with its next request, and forgets it.
  if (qGuiApp->nativeInterface<QNativeInterface::QX11Application>() == nullptr)
    qputenv(kToken, QByteArray::fromStdString(token));
}

void DesktopWindowActivation::bringToFront(std::uint64_t window) {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 == nullptr) return;
  xcb_connection_t* connection = x11->connection();
  xcb_client_message_event_t message;
  std::memset(&message, 0, sizeof message);
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = static_cast<xcb_window_t>(window);
  message.type = atom(connection, "_NET_ACTIVE_WINDOW");
  message.data.data32[0] = kFromTheUser;
  message.data.data32[1] = std::exchange(_time, 0);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

}  // namespace pellora
