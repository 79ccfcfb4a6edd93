#include "Adapters/Linux/Files/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

constexpr std::chrono::milliseconds kRetryInterval(10);

}  // namespace

std::optional<FileLock> FileLock::take(FileDescriptor descriptor, std::chrono::milliseconds patience,
                                       std::error_code& error) {
  const auto lastError = [] { return std::error_code(errno, std::generic_category()); };
  error = descriptor.isOpen() ? std::error_code() : lastError();
  if (error) return std::nullopt;
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (flock(descriptor.number(), LOCK_EX | LOCK_NB) != 0) {
    error = lastError();
    if (errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(kRetryInterval);
  }
  error.clear();
  return FileLock(std::move(descriptor));
}

std::optional<FileLock> FileLock::onFile(const std::filesystem::path& file, std::chrono::milliseconds patience,
                                         std::error_code& error) {
  return take(FileDescriptor::open(file, O_RDWR | O_CREAT | O_NOFOLLOW, 0600), patience, error);
}

std::optional<FileLock> FileLock::onFolder(const std::filesystem::path& folder, std::chrono::milliseconds patience) {
  std::error_code error;
  return take(FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY), patience, error);
}

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

namespace {

class Held : public HeldReadLock {
 public:
  explicit Held(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}

 private:
  FileDescriptor _descriptor;  // the lock goes with it
};

}  // namespace

std::unique_ptr<HeldReadLock> FolderReadLock::tryTake() {
  if (!_folder) return std::make_unique<Held>(FileDescriptor());
  FileDescriptor descriptor = FileDescriptor::open(*_folder, O_RDONLY | O_DIRECTORY);
  if (descriptor.isOpen() && flock(descriptor.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return nullptr;
  return std::make_unique<Held>(std::move(descriptor));
}

}  // namespace pellora
