#include "PelloraMessagesCore/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/FileError.h"
#include "PelloraMessagesCore/Uuid.h"

namespace pellora::AtomicFile {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;
// Hidden, and without an extension that a listing of records looks for.
constexpr std::string_view kTemporaryPrefix = ".pellora-";
constexpr std::string_view kTemporarySuffix = ".tmp";

template <class Call>
auto retried(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (_number >= 0) ::close(_number);
  }

  int number() const { return _number; }
  bool isOpen() const { return _number >= 0; }

  // The number is free afterwards whatever the result; an interrupted close has closed.
  bool closeChecked() { return ::close(std::exchange(_number, -1)) == 0 || errno == EINTR; }

 private:
  int _number;
};

Descriptor openFile(const fs::path& file, int flags, mode_t mode = 0) {
  return Descriptor(retried([&] { return ::open(file.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); }));
}

// A temporary file that its writer holds locked. Removes itself unless it was renamed away.
class TemporaryFile {
 public:
  explicit TemporaryFile(fs::path path)
      : _path(std::move(path)), _descriptor(openFile(_path, O_WRONLY | O_CREAT | O_EXCL, kFileMode)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (_descriptor.isOpen() && !_isRenamed) ::unlink(_path.c_str());
  }

  bool isOpen() const { return _descriptor.isOpen(); }

  // False when somebody who clears leftovers was faster and has taken the name away. A file system without locks
  // gives none to those who clear either, so going on without one is safe there.
  bool lock() {
    retried([&] { return ::flock(_descriptor.number(), LOCK_EX); });
    struct stat status{};
    return ::fstat(_descriptor.number(), &status) != 0 || status.st_nlink > 0;
  }

  bool write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t written = retried([&] { return ::write(_descriptor.number(), bytes.data(), bytes.size()); });
      if (written < 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }

  bool sync() {
    return retried([&] { return ::fsync(_descriptor.number()); }) == 0;
  }

  // What closing has to report, while the lock stays: it belongs to the open file and not to this number.
  bool closeDuplicate() {
    Descriptor duplicate(::fcntl(_descriptor.number(), F_DUPFD_CLOEXEC, 0));
    return duplicate.isOpen() && duplicate.closeChecked();
  }

  bool renameTo(const fs::path& target) {
    _isRenamed = retried([&] { return ::rename(_path.c_str(), target.c_str()); }) == 0;
    return _isRenamed;
  }

 private:
  fs::path _path;
  Descriptor _descriptor;
  bool _isRenamed = false;
};

fs::path folderOf(const fs::path& path) {
  const fs::path folder = path.parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

bool isFolder(const fs::path& path) {
  struct stat status{};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void syncFolder(const fs::path& folder) {
  const Descriptor descriptor = openFile(folder, O_RDONLY | O_DIRECTORY);
  if (!descriptor.isOpen() || retried([&] { return ::fsync(descriptor.number()); }) != 0)
    throw FileError("save the folder", folder, errno);
}

void makeFolder(const fs::path& folder) {
  if (::mkdir(folder.c_str(), kFolderMode) == 0) {
    // The mask of the process may have taken bits away.
    if (::chmod(folder.c_str(), kFolderMode) != 0) throw FileError("create the folder", folder, errno);
    syncFolder(folderOf(folder));
    return;
  }
  const int code = errno;
  if (code != EEXIST) throw FileError("create the folder", folder, code);
  if (!isFolder(folder)) throw FileError("create the folder", folder, ENOTDIR);
}

void makeFolders(const fs::path& folder) {
  std::vector<fs::path> missing;
  for (fs::path each = folder; !isFolder(each); each = folderOf(each)) {
    if (!each.filename().empty()) missing.push_back(each);
    if (each == folderOf(each)) break;
  }
  for (auto each = missing.rbegin(); each != missing.rend(); ++each) makeFolder(*each);
}

std::unique_ptr<TemporaryFile> openTemporary(const fs::path& folder) {
  const std::string name = std::string(kTemporaryPrefix) + Uuid::random().toString() + std::string(kTemporarySuffix);
  return std::make_unique<TemporaryFile>(folder / name);
}

// In a folder that is made when it is missing; locked.
std::unique_ptr<TemporaryFile> createTemporary(const fs::path& file) {
  const fs::path folder = folderOf(file);
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::unique_ptr<TemporaryFile> temporary = openTemporary(folder);
    if (!temporary->isOpen() && errno == ENOENT) {
      makeFolders(folder);
      temporary = openTemporary(folder);
    }
    if (!temporary->isOpen()) throw FileError("write", file, errno);
    if (temporary->lock()) return temporary;
  }
  throw FileError("write", file, EAGAIN);
}

bool isTemporaryName(std::string_view name) {
  return name.size() > kTemporaryPrefix.size() + kTemporarySuffix.size() && name.starts_with(kTemporaryPrefix) &&
         name.ends_with(kTemporarySuffix);
}

void removeIfAbandoned(const fs::path& file) {
  const Descriptor descriptor = openFile(file, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (retried([&] { return ::flock(descriptor.number(), LOCK_EX | LOCK_NB); }) == 0) ::unlink(file.c_str());
}

// The size to reserve; absent for what is no regular file or too large.
std::optional<std::size_t> readableSize(const Descriptor& descriptor, std::size_t maximumSize) {
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
    return std::nullopt;
  if (static_cast<std::uintmax_t>(status.st_size) > maximumSize) return std::nullopt;
  return static_cast<std::size_t>(status.st_size);
}

}  // namespace

void write(const fs::path& file, std::string_view bytes) {
  if (file.filename().empty()) throw FileError("write", file, EISDIR);
  const std::unique_ptr<TemporaryFile> temporary = createTemporary(file);
  const bool isInPlace =
      temporary->write(bytes) && temporary->sync() && temporary->closeDuplicate() && temporary->renameTo(file);
  if (!isInPlace) throw FileError("write", file, errno);
  syncFolder(folderOf(file));
}

std::optional<std::string> read(const fs::path& file, std::size_t maximumSize) {
  // A pipe put in the file's place must not make the reader wait for its writer.
  const Descriptor descriptor = openFile(file, O_RDONLY | O_NONBLOCK);
  const std::optional<std::size_t> size = readableSize(descriptor, maximumSize);
  if (!size) return std::nullopt;
  std::string bytes(*size + 1, '\0');
  std::size_t filled = 0;
  while (true) {
    if (filled == bytes.size()) bytes.resize(bytes.size() * 2);  // it has grown meanwhile
    const ssize_t count =
        retried([&] { return ::read(descriptor.number(), bytes.data() + filled, bytes.size() - filled); });
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
    if (filled > maximumSize) return std::nullopt;
  }
  bytes.resize(filled);
  return bytes;
}

void removeLeftovers(const fs::path& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), ::closedir);
  if (!listing) return;
  while (const dirent* entry = ::readdir(listing.get()))
    if (isTemporaryName(entry->d_name)) removeIfAbandoned(folder / entry->d_name);
}

}  // namespace pellora::AtomicFile
