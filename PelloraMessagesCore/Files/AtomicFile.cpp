#include "PelloraMessagesCore/Files/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora::AtomicFile {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kFolderMode = 0700;
constexpr std::size_t kOpenAtOnce = 64;  // temporary files
constexpr unsigned kFileMode = 0600;
// Hidden, and without an extension that a listing of records looks for.
constexpr std::string_view kPrefix = ".pellora-";
constexpr std::string_view kSuffix = ".tmp";

// A file that is being written and takes another one's place by renaming: mode 0600, locked while this lives, so that
// clearing leftovers can tell it from one whose writer has died. Removes itself unless it was renamed. Functions
// return false with errno when they fail.
class TemporaryFile {
 public:
  // In a folder that exists, under a name that no listing takes for a record; null with errno when it fails.
  static std::unique_ptr<TemporaryFile> create(const std::filesystem::path& folder);

  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Whether `create` makes such names.
  static bool isName(std::string_view name);

  // Removes this file of such a name when no writer holds it. Errors are ignored.
  static void removeIfAbandoned(const std::filesystem::path& file);

  bool write(std::string_view bytes);

  // Tells the system to begin bringing the bytes to the disk; sync waits for them.
  void startSync();
  bool sync();

  // Whether closing would succeed, before anything depends on it. The file stays open and locked.
  bool checkClose();

  bool renameTo(const std::filesystem::path& target);

 private:
  TemporaryFile(std::filesystem::path path, FileDescriptor descriptor)
      : _path(std::move(path)), _descriptor(std::move(descriptor)) {}

  bool lock();

  std::filesystem::path _path;
  FileDescriptor _descriptor;
  bool _isRenamed = false;
};

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

// False when another process that clears leftovers was faster and removed the file. On a file system without locks that
// process gets none either, so continuing without one is safe.
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

fs::path folderOf(const fs::path& path) {
  const fs::path folder = path.parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

bool isFolder(const fs::path& path) {
  struct stat status{};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void syncFolder(const fs::path& folder) {
  const FileDescriptor descriptor = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
  if (!descriptor.isOpen() || retried([&] { return ::fsync(descriptor.number()); }) != 0)
    throw FileError("save the folder", folder, errno);
}

void makeFolder(const fs::path& folder) {
  if (::mkdir(folder.c_str(), kFolderMode) == 0) {
    // The mask of the process may have taken bits away. A confined process may not change modes, and need not.
    struct stat status{};
    if (::stat(folder.c_str(), &status) != 0) throw FileError("create the folder", folder, errno);
    if ((status.st_mode & kFolderMode) != kFolderMode && ::chmod(folder.c_str(), kFolderMode) != 0)
      throw FileError("create the folder", folder, errno);
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

// In the file's folder, which is made when it is missing.
std::unique_ptr<TemporaryFile> writeTemporary(const fs::path& file, std::string_view bytes) {
  if (file.filename().empty()) throw FileError("write", file, EISDIR);
  const fs::path folder = folderOf(file);
  std::unique_ptr<TemporaryFile> temporary = TemporaryFile::create(folder);
  if (!temporary && errno == ENOENT) {
    makeFolders(folder);
    temporary = TemporaryFile::create(folder);
  }
  if (!temporary || !temporary->write(bytes)) throw FileError("write", file, errno);
  return temporary;
}

// No more than are opened at once. The folders are not synced yet.
void writeSome(std::span<const Replacement> replacements) {
  std::vector<std::unique_ptr<TemporaryFile>> temporaries;
  for (const Replacement& each : replacements) {
    temporaries.push_back(writeTemporary(each.file, each.bytes));
    temporaries.back()->startSync();
  }
  for (std::size_t index = 0; index < replacements.size(); ++index)
    if (!temporaries[index]->sync() || !temporaries[index]->checkClose())
      throw FileError("write", replacements[index].file, errno);
  for (std::size_t index = 0; index < replacements.size(); ++index)
    if (!temporaries[index]->renameTo(replacements[index].file))
      throw FileError("write", replacements[index].file, errno);
}

// The size to reserve; absent, with errno set, for what is not a regular file or too large.
std::optional<std::size_t> readableSize(const FileDescriptor& descriptor, std::size_t maximumSize) {
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0) return std::nullopt;
  const bool isTooLarge = static_cast<std::uintmax_t>(status.st_size) > maximumSize;
  if (!S_ISREG(status.st_mode) || isTooLarge) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : isTooLarge ? EFBIG : EINVAL;
    return std::nullopt;
  }
  return static_cast<std::size_t>(status.st_size);
}

}  // namespace

void write(const fs::path& file, std::string_view bytes) {
  const std::unique_ptr<TemporaryFile> temporary = writeTemporary(file, bytes);
  if (!temporary->sync() || !temporary->checkClose() || !temporary->renameTo(file))
    throw FileError("write", file, errno);
  syncFolder(folderOf(file));
}

void writeAll(std::span<const Replacement> replacements) {
  std::set<fs::path> folders;
  for (const Replacement& each : replacements) folders.insert(folderOf(each.file));
  while (!replacements.empty()) {
    const std::size_t count = std::min(replacements.size(), kOpenAtOnce);
    writeSome(replacements.first(count));
    replacements = replacements.subspan(count);
  }
  // Replaced files are whole at every moment; one wait at the end makes sure that they last.
  for (const fs::path& folder : folders) syncFolder(folder);
}

std::optional<std::string> read(const fs::path& file, std::size_t maximumSize) {
  // A pipe put in the file's place must not make the reader wait for its writer.
  const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY | O_NONBLOCK);
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
    if (filled > maximumSize) {
      errno = EFBIG;
      return std::nullopt;
    }
  }
  bytes.resize(filled);
  return bytes;
}

std::optional<std::string> readIfThere(const fs::path& file) {
  errno = 0;
  std::optional<std::string> bytes = read(file);
  if (!bytes && errno != ENOENT && errno != ENOTDIR) throw FileError("read", file, errno);
  return bytes;
}

void removeLeftovers(const fs::path& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), ::closedir);
  if (!listing) return;
  while (const dirent* entry = ::readdir(listing.get()))
    if (TemporaryFile::isName(entry->d_name)) TemporaryFile::removeIfAbandoned(folder / entry->d_name);
}

}  // namespace pellora::AtomicFile
