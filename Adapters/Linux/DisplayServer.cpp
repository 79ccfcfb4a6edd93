#include "Adapters/Linux/DisplayServer.h"

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

#include "Adapters/Linux/XdgFolders.h"
#include "PelloraMessagesCore/FileDescriptor.h"

namespace pellora::DisplayServer {

namespace {

std::string_view fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

bool isX11Reachable() {
  if (fromEnvironment("DISPLAY").empty()) return false;
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool isConnected = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isConnected;
}

bool hasWaylandPlugin() {
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
  return !plugins.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

bool acceptsConnections(const std::filesystem::path& socketPath) {
  const std::string path = socketPath.string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const FileDescriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return descriptor.isOpen() &&
         connect(descriptor.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool isWaylandReachable() {
  const std::string_view display = fromEnvironment("WAYLAND_DISPLAY");
  if (display.empty() || !hasWaylandPlugin()) return false;
  if (display.starts_with('/')) return acceptsConnections(display);
  const auto runtime = XdgFolders::runtime();
  return runtime && acceptsConnections(*runtime / display);
}

// Platforms that draw without a display server.
bool isServerless(std::string_view platform) {
  return !platform.empty() && !platform.starts_with("xcb") && !platform.starts_with("wayland");
}

}  // namespace

bool isReachable() {
  const std::string_view platform = fromEnvironment("QT_QPA_PLATFORM");
  if (isServerless(platform)) return true;
  if (platform == "xcb") return isX11Reachable();
  if (platform.starts_with("wayland") && platform.find("xcb") == std::string_view::npos) return isWaylandReachable();
  return isX11Reachable() || isWaylandReachable();
}

}  // namespace pellora::DisplayServer
