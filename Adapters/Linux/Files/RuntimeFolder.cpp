#include "Adapters/Linux/Files/RuntimeFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include "Adapters/Linux/Files/XdgFolders.h"

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
