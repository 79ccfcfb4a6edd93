#include "Adapters/Linux/Files/XdgFolders.h"

#include <pwd.h>
#include <sys/stat.h>
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

namespace pellora::RuntimeFolder {

namespace {

constexpr mode_t kPrivate = 0700;

}  // namespace

bool isOwn(const std::filesystem::path& folder) {
  struct stat status{};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

namespace {

bool isPrivate(const std::filesystem::path& folder) {
  struct stat status{};
  return isOwn(folder) && lstat(folder.c_str(), &status) == 0 && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

}  // namespace

std::optional<std::filesystem::path> path() {
  if (const auto folder = XdgFolders::runtime(); folder && isOwn(*folder)) return folder;
  const auto home = XdgFolders::home();
  if (!home) return std::nullopt;
  std::filesystem::path folder = *home / ".cache";
  mkdir(folder.c_str(), kPrivate);
  folder /= "app.pellora.messages.runtime";
  mkdir(folder.c_str(), kPrivate);
  if (!isPrivate(folder)) return std::nullopt;
  return folder;
}

std::optional<std::filesystem::path> own() {
  const auto base = path();
  if (!base) return std::nullopt;
  std::filesystem::path folder = *base / "app.pellora.messages";
  mkdir(folder.c_str(), kPrivate);
  if (!isOwn(folder)) return std::nullopt;
  return folder;
}

}  // namespace pellora::RuntimeFolder

namespace pellora {

std::optional<std::filesystem::path> XdgGroupContainer::folder(const std::string& groupIdentifier) const {
  const auto data = XdgFolders::data();
  if (!data) return std::nullopt;
  return *data / groupIdentifier;
}

}  // namespace pellora
