#include "Adapters/Linux/Files/StandInFolders.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace pellora {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kPrivate = 0700;
constexpr int kRemovals = 100;  // others may go on writing into the folder that is replaced

bool isOwn(const fs::path& folder) {
  struct stat status{};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

void moveContent(const fs::path& from, const fs::path& to) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(from, error)) {
    std::error_code ignored;
    // A newer file of the same name is the one that counts.
    fs::rename(entry.path(), to / entry.path().filename(), ignored);
  }
}

// Those of processes that are gone.
void removeLeftovers(const fs::path& folder, const std::string& name) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const std::string found = entry.path().filename().string();
    if (!found.starts_with(name)) continue;
    const int process = std::atoi(found.c_str() + name.size());
    if (process <= 0 || kill(process, 0) == 0 || errno != ESRCH) continue;
    for (int number = 1; number <= StandInFolders::kCount; ++number)
      rmdir((entry.path() / std::to_string(number)).c_str());
    rmdir(entry.path().c_str());
  }
}

}  // namespace

StandInFolders::StandInFolders(fs::path folder) : _folder(std::move(folder)) {
  std::error_code error;
  fs::create_directories(_folder, error);
  know(_folder);
  const std::string name = "." + _folder.filename().string() + ".stand-ins.";
  removeLeftovers(_folder.parent_path(), name);
  _hiddenFolder = _folder.parent_path() / (name + std::to_string(getpid()));
  if (mkdir(_hiddenFolder.c_str(), kPrivate) != 0) return;
  for (int number = 1; number <= kCount; ++number) {
    const fs::path standIn = _hiddenFolder / std::to_string(number);
    mkdir(standIn.c_str(), kPrivate);
    if (!isOwn(standIn)) continue;
    _standIns.push_back(standIn);
    know(standIn);
  }
}

void StandInFolders::know(const fs::path& folder) {
  FileDescriptor descriptor = FileDescriptor::open(folder, O_PATH | O_DIRECTORY);
  struct stat status{};
  if (descriptor.isOpen() && fstat(descriptor.number(), &status) == 0)
    _known.push_back({std::move(descriptor), status.st_dev, status.st_ino});
}

bool StandInFolders::isInPlace() const {
  struct stat status{};
  return stat(_folder.c_str(), &status) == 0 && std::ranges::any_of(_known, [&](const Known& known) {
           return known.device == status.st_dev && known.inode == status.st_ino;
         });
}

bool StandInFolders::putInPlace() {
  if (isInPlace()) return true;
  // A link or a file in its place is the user's doing, and somebody else's folder is not ours to move.
  struct stat status{};
  const bool isThere = lstat(_folder.c_str(), &status) == 0;
  if (_standIns.empty() || (isThere && !isOwn(_folder))) return false;
  const fs::path standIn = _standIns.front();
  _standIns.erase(_standIns.begin());
  if (!isThere)
    return renameat2(AT_FDCWD, standIn.c_str(), AT_FDCWD, _folder.c_str(), RENAME_NOREPLACE) == 0 || isInPlace();
  moveContent(_folder, standIn);
  if (renameat2(AT_FDCWD, standIn.c_str(), AT_FDCWD, _folder.c_str(), RENAME_EXCHANGE) != 0) {
    moveContent(standIn, _folder);
    return false;
  }
  // Files written meanwhile are where the stand-in was.
  for (int attempt = 0; attempt < kRemovals && rmdir(standIn.c_str()) != 0 && errno == ENOTEMPTY; ++attempt)
    moveContent(standIn, _folder);
  return isInPlace();
}

void StandInFolders::remove() {
  for (const fs::path& standIn : _standIns) rmdir(standIn.c_str());
  rmdir(_hiddenFolder.c_str());
}

}  // namespace pellora
