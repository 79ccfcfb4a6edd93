#include "Adapters/Linux/Process/InstanceLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

// The hash only keeps the locks of different folders apart.
std::string nameFor(const std::optional<std::filesystem::path>& folder, InstanceLock::Kind kind) {
  Fnv1a hash;
  if (folder) hash.add(folder->lexically_normal().string());
  char name[32];
  const char* format = kind == InstanceLock::Kind::helper ? "helper-%016llx.lock" : "read-%016llx.lock";
  std::snprintf(name, sizeof name, format, static_cast<unsigned long long>(hash.hash()));
  return name;
}

struct flock wholeFile() {
  struct flock lock{};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

}  // namespace

std::optional<std::filesystem::path> InstanceLock::file(const std::optional<std::filesystem::path>& sharedFolder,
                                                        Kind kind) {
  const auto folder = RuntimeFolder::own();
  if (!folder) return std::nullopt;
  return *folder / nameFor(sharedFolder, kind);
}

std::optional<InstanceLock> InstanceLock::take(const std::optional<std::filesystem::path>& sharedFolder, Kind kind) {
  const auto path = file(sharedFolder, kind);
  if (!path) return InstanceLock(FileDescriptor());
  FileDescriptor descriptor = FileDescriptor::open(*path, O_RDWR | O_CREAT | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (!descriptor.isOpen()) return InstanceLock(FileDescriptor());
  struct flock lock = wholeFile();
  if (fcntl(descriptor.number(), F_OFD_SETLK, &lock) == 0) return InstanceLock(std::move(descriptor));
  if (errno == EAGAIN || errno == EACCES) return std::nullopt;
  return InstanceLock(FileDescriptor());
}

bool InstanceLock::isHeld(const std::optional<std::filesystem::path>& sharedFolder, Kind kind) {
  const auto path = file(sharedFolder, kind);
  if (!path) return false;
  const FileDescriptor descriptor = FileDescriptor::open(*path, O_RDWR | O_NOFOLLOW);
  struct flock lock = wholeFile();
  return descriptor.isOpen() && fcntl(descriptor.number(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace pellora
