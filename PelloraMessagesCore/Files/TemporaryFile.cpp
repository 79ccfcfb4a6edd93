#include "PelloraMessagesCore/Files/TemporaryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

namespace {

constexpr unsigned kFileMode = 0600;
// Hidden, and without an extension that a listing of records looks for.
constexpr std::string_view kPrefix = ".pellora-";
constexpr std::string_view kSuffix = ".tmp";

}  // namespace

std::unique_ptr<TemporaryFile> TemporaryFile::create(const std::filesystem::path& folder) {
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::filesystem::path path = folder;
    path /= std::string(kPrefix) + Uuid::random().toString() + std::string(kSuffix);
    FileDescriptor descriptor = FileDescriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, kFileMode);
    if (!descriptor.isOpen()) return nullptr;
    std::unique_ptr<TemporaryFile> file(new TemporaryFile(std::move(path), std::move(descriptor)));
    if (file->lock()) return file;
  }
  errno = EAGAIN;
  return nullptr;
}

TemporaryFile::~TemporaryFile() {
  if (_isRenamed) return;
  const int code = errno;  // of the failure that led here
  ::unlink(_path.c_str());
  errno = code;
}

bool TemporaryFile::isName(std::string_view name) {
  return name.size() > kPrefix.size() + kSuffix.size() && name.starts_with(kPrefix) && name.ends_with(kSuffix);
}

void TemporaryFile::removeIfAbandoned(const std::filesystem::path& file) {
  const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (retried([&] { return ::flock(descriptor.number(), LOCK_EX | LOCK_NB); }) == 0) ::unlink(file.c_str());
}

// False when somebody who clears leftovers was faster and has taken the name away. A file system without locks
// gives none to those who clear either, so going on without one is safe there.
bool TemporaryFile::lock() {
  retried([&] { return ::flock(_descriptor.number(), LOCK_EX); });
  struct stat status{};
  return ::fstat(_descriptor.number(), &status) != 0 || status.st_nlink > 0;
}

bool TemporaryFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = retried([&] { return ::write(_descriptor.number(), bytes.data(), bytes.size()); });
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void TemporaryFile::startSync() {
  // Only a hint: what is not needed in memory is written out.
  ::posix_fadvise(_descriptor.number(), 0, 0, POSIX_FADV_DONTNEED);
}

bool TemporaryFile::sync() {
  return retried([&] { return ::fsync(_descriptor.number()); }) == 0;
}

bool TemporaryFile::checkClose() {
  // The lock belongs to the open file, which a second number keeps open.
  FileDescriptor duplicate(::fcntl(_descriptor.number(), F_DUPFD_CLOEXEC, 0));
  return duplicate.isOpen() && duplicate.close();
}

bool TemporaryFile::renameTo(const std::filesystem::path& target) {
  _isRenamed = retried([&] { return ::rename(_path.c_str(), target.c_str()); }) == 0;
  return _isRenamed;
}

}  // namespace pellora
