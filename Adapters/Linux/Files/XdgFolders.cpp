#include "Adapters/Linux/Files/XdgFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace pellora::XdgFolders {

namespace {

std::optional<std::filesystem::path> absoluteFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value != '/') return std::nullopt;
  return std::filesystem::path(value);
}

std::optional<std::filesystem::path> baseFolder(const char* variable, const char* belowHome) {
  if (const auto folder = absoluteFromEnvironment(variable)) return folder;
  const auto folder = home();
  if (!folder) return std::nullopt;
  return *folder / belowHome;
}

}  // namespace

std::optional<std::filesystem::path> home() {
  if (const auto folder = absoluteFromEnvironment("HOME")) return folder;
  const passwd* user = getpwuid(getuid());
  if (user == nullptr || user->pw_dir == nullptr || *user->pw_dir != '/') return std::nullopt;
  return std::filesystem::path(user->pw_dir);
}

std::optional<std::filesystem::path> data() {
  return baseFolder("XDG_DATA_HOME", ".local/share");
}

std::optional<std::filesystem::path> config() {
  return baseFolder("XDG_CONFIG_HOME", ".config");
}

std::optional<std::filesystem::path> runtime() {
  return absoluteFromEnvironment("XDG_RUNTIME_DIR");
}

}  // namespace pellora::XdgFolders
