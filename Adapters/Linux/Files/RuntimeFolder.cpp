#include "Adapters/Linux/Files/RuntimeFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "Adapters/Linux/Files/XdgFolders.h"

namespace pellora::RuntimeFolder {

namespace {

bool isOwnFolder(const std::filesystem::path& folder) {
  struct stat status{};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

std::optional<std::filesystem::path> path() {
  if (const auto folder = XdgFolders::runtime(); folder && isOwnFolder(*folder)) return folder;
  std::filesystem::path folder = "/tmp/app.pellora.messages-" + std::to_string(geteuid());
  mkdir(folder.c_str(), 0700);
  if (!isOwnFolder(folder)) return std::nullopt;
  return folder;
}

std::optional<std::filesystem::path> own() {
  const auto base = path();
  if (!base) return std::nullopt;
  std::filesystem::path folder = *base / "app.pellora.messages";
  mkdir(folder.c_str(), 0700);
  if (!isOwnFolder(folder)) return std::nullopt;
  return folder;
}

}  // namespace pellora::RuntimeFolder
