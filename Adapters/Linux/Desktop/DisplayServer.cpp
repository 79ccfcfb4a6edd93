#include "Adapters/Linux/Desktop/DisplayServer.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::DisplayServer {

namespace {

std::string_view fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

std::shared_ptr<void> reachX11() {
  if (fromEnvironment("DISPLAY").empty()) return nullptr;
  std::shared_ptr<xcb_connection_t> connection(xcb_connect(nullptr, nullptr), xcb_disconnect);
  if (xcb_connection_has_error(connection.get()) != 0) return nullptr;
  return connection;
}

bool hasWaylandPlugin() {
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
  return !plugins.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

std::shared_ptr<void> connectTo(const std::filesystem::path& socketPath) {
  const std::string path = socketPath.string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return nullptr;
  std::memcpy(address.sun_path, path.c_str(), path.size());
  auto descriptor = std::make_shared<FileDescriptor>(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!descriptor->isOpen() ||
      connect(descriptor->number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return nullptr;
  return descriptor;
}

std::shared_ptr<void> reachWayland() {
  const std::string_view display = fromEnvironment("WAYLAND_DISPLAY");
  if (display.empty() || !hasWaylandPlugin()) return nullptr;
  if (display.starts_with('/')) return connectTo(display);
  const auto runtime = XdgFolders::runtime();
  return runtime ? connectTo(*runtime / display) : nullptr;
}

// Platforms that draw without a display server.
bool isServerless(std::string_view platform) {
  return !platform.empty() && !platform.starts_with("xcb") && !platform.starts_with("wayland");
}

}  // namespace

std::shared_ptr<void> reach() {
  const std::string_view platform = fromEnvironment("QT_QPA_PLATFORM");
  if (isServerless(platform)) return std::make_shared<char>();
  if (platform == "xcb") return reachX11();
  if (platform.starts_with("wayland") && platform.find("xcb") == std::string_view::npos) return reachWayland();
  if (auto connection = reachX11()) return connection;
  return reachWayland();
}

}  // namespace pellora::DisplayServer

namespace pellora {

namespace {

constexpr char kToken[] = "XDG_ACTIVATION_TOKEN";
constexpr char kStartupId[] = "DESKTOP_STARTUP_ID";
constexpr std::uint32_t kEveryWorkspace = 0xFFFFFFFF;
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

template <class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

// Properties of windows and requests to the X server, over the window library's connection.
class X11Windows {
 public:
  explicit X11Windows(xcb_connection_t* connection)
      : _connection(connection), _root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

  xcb_window_t root() const { return _root; }

  std::optional<std::uint32_t> number(xcb_window_t window, std::string_view property) const {
    const auto cookie = xcb_get_property(_connection, 0, window, atom(property), XCB_ATOM_CARDINAL, 0, 1);
    const Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(_connection, cookie, nullptr), &std::free);
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) return std::nullopt;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  }

  // Asks the window manager.
  void ask(xcb_window_t window, std::string_view request, std::uint32_t first, std::uint32_t second) const {
    xcb_client_message_event_t message;
    std::memset(&message, 0, sizeof message);
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(request);
    message.data.data32[0] = first;
    message.data.data32[1] = second;
    xcb_send_event(_connection, 0, _root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(_connection);
  }

 private:
  xcb_atom_t atom(std::string_view name) const {
    const auto cookie = xcb_intern_atom(_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(_connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }

  xcb_connection_t* _connection;
  xcb_window_t _root;
};

// Null where the windows are not those of an X server; a platform without any may claim to be one, and has none.
xcb_connection_t* x11Connection() {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 == nullptr ? nullptr : x11->connection();
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
  if (x11Connection() == nullptr) qputenv(kToken, QByteArray::fromStdString(token));
}

void DesktopWindowActivation::bringToFront(std::uint64_t window) {
  xcb_connection_t* connection = x11Connection();
  if (connection == nullptr) return;
  const X11Windows windows(connection);
  const auto shown = static_cast<xcb_window_t>(window);
  // Some window managers do not follow a window to its workspace, so it comes to the user's.
  const auto workspace = windows.number(windows.root(), "_NET_CURRENT_DESKTOP");
  const auto place = windows.number(shown, "_NET_WM_DESKTOP");
  if (workspace && place && *place != kEveryWorkspace && *place != *workspace)
    windows.ask(shown, "_NET_WM_DESKTOP", *workspace, kFromTheUser);
  windows.ask(shown, "_NET_ACTIVE_WINDOW", kFromTheUser, std::exchange(_time, 0));
}

}  // namespace pellora
