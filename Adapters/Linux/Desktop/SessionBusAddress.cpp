#include "Adapters/Linux/Desktop/SessionBusAddress.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "Adapters/Linux/Files/XdgFolders.h"

namespace pellora::SessionBusAddress {

std::optional<std::string> find() {
  const char* value = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (value != nullptr && *value != '\0') {
    std::string address(value);
    if (address.find("autolaunch:") != std::string::npos || address.find(':') == std::string::npos) return std::nullopt;
    return address;
  }
  const auto runtime = XdgFolders::runtime();
  if (!runtime) return std::nullopt;
  const std::filesystem::path socket = *runtime / "bus";
  struct stat status{};
  if (stat(socket.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode) || status.st_uid != geteuid())
    return std::nullopt;
  return "unix:path=" + socket.string();
}

}  // namespace pellora::SessionBusAddress
