#include "Adapters/Linux/Files/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace pellora {

namespace {

constexpr std::chrono::milliseconds kRetryInterval(10);

}  // namespace

std::optional<FileLock> FileLock::take(FileDescriptor descriptor, std::chrono::milliseconds patience) {
  if (!descriptor.isOpen()) return std::nullopt;
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (flock(descriptor.number(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(kRetryInterval);
  }
  return FileLock(std::move(descriptor));
}

std::optional<FileLock> FileLock::onFile(const std::filesystem::path& file, std::chrono::milliseconds patience) {
  return take(FileDescriptor::open(file, O_RDWR | O_CREAT | O_NOFOLLOW, 0600), patience);
}

std::optional<FileLock> FileLock::onFolder(const std::filesystem::path& folder, std::chrono::milliseconds patience) {
  return take(FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY), patience);
}

}  // namespace pellora
