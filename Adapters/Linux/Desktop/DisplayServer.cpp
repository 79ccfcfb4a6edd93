#include "Adapters/Linux/Desktop/DisplayServer.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QLibraryInfo>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

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
