#include "PelloraMessagesCore/Files/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "PelloraMessagesCore/Files/TemporaryFile.h"

namespace pellora::AtomicFile {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kFolderMode = 0700;
constexpr std::size_t kOpenAtOnce = 64;  // temporary files

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

// No more than are opened at once.
void writeSome(std::span<const Replacement> replacements) {
  std::vector<std::unique_ptr<TemporaryFile>> temporaries;
  std::set<fs::path> folders;
  for (const Replacement& each : replacements) {
    temporaries.push_back(writeTemporary(each.file, each.bytes));
    temporaries.back()->startSync();
    folders.insert(folderOf(each.file));
  }
  for (std::size_t index = 0; index < replacements.size(); ++index)
    if (!temporaries[index]->sync() || !temporaries[index]->checkClose())
      throw FileError("write", replacements[index].file, errno);
  for (std::size_t index = 0; index < replacements.size(); ++index)
    if (!temporaries[index]->renameTo(replacements[index].file))
      throw FileError("write", replacements[index].file, errno);
  for (const fs::path& folder : folders) syncFolder(folder);
}

// The size to reserve; absent for what is no regular file or too large.
std::optional<std::size_t> readableSize(const FileDescriptor& descriptor, std::size_t maximumSize) {
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
    return std::nullopt;
  if (static_cast<std::uintmax_t>(status.st_size) > maximumSize) return std::nullopt;
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
  while (!replacements.empty()) {
    const std::size_t count = std::min(replacements.size(), kOpenAtOnce);
    writeSome(replacements.first(count));
    replacements = replacements.subspan(count);
  }
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
    if (filled > maximumSize) return std::nullopt;
  }
  bytes.resize(filled);
  return bytes;
}

void removeLeftovers(const fs::path& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), ::closedir);
  if (!listing) return;
  while (const dirent* entry = ::readdir(listing.get()))
    if (TemporaryFile::isName(entry->d_name)) TemporaryFile::removeIfAbandoned(folder / entry->d_name);
}

}  // namespace pellora::AtomicFile
