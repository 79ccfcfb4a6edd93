#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/InotifyFileEvents.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

constexpr std::size_t kMaximumSize = 4096;  // bytes; a longer file is cut, which no reader takes for a key
constexpr mode_t kOthersBits = 077;
constexpr mode_t kOthersWriteBits = 022;  // who may write the folder may put another key in the file's place
constexpr std::chrono::milliseconds kLockPatience(5000);

// Thrown inside this file only; the text is the reason given to the caller.
struct Refusal {
  std::string reason;
};

Refusal systemRefusal(const std::string& action, const std::filesystem::path& path, int code) {
  return {"Couldn't " + action + " " + path.string() + ": " + std::generic_category().message(code) + "."};
}

bool isPlainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

std::filesystem::path folderFor(const std::optional<std::filesystem::path>& base, const SecretAttributes& attributes) {
  if (!base) throw Refusal{"There is no home folder to keep the key file in."};
  if (!isPlainName(attributes.service) || !isPlainName(attributes.account))
    throw Refusal{"The key's names cannot be used as a file name."};
  return *base / attributes.service;
}

void requirePrivate(const struct stat& status, const std::filesystem::path& path, mode_t refused, const char* wanted) {
  if (status.st_uid != geteuid()) throw Refusal{path.string() + " belongs to another user."};
  if ((status.st_mode & refused) == 0) return;
  std::array<char, 8> mode{};
  std::snprintf(mode.data(), mode.size(), "%04o", static_cast<unsigned>(status.st_mode & 07777));
  throw Refusal{path.string() + " must be open to its owner only (mode " + wanted + "), but its mode is " +
                mode.data() + ": chmod " + wanted + " '" + path.string() + "'"};
}

// Not open when the folder does not exist.
FileDescriptor openFolder(const std::filesystem::path& folder) {
  FileDescriptor descriptor = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
  if (!descriptor.isOpen()) {
    if (errno == ENOENT) return descriptor;
    throw systemRefusal("open", folder, errno);
  }
  struct stat status{};
  if (fstat(descriptor.number(), &status) != 0) throw systemRefusal("examine", folder, errno);
  requirePrivate(status, folder, kOthersWriteBits, "0700");
  return descriptor;
}

SecretBytes readAll(const FileDescriptor& descriptor, const std::filesystem::path& file) {
  std::array<std::uint8_t, kMaximumSize> buffer{};
  std::size_t size = 0;
  while (size < buffer.size()) {
    const ssize_t count = read(descriptor.number(), buffer.data() + size, buffer.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw systemRefusal("read", file, errno);
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  SecretBytes bytes(std::span<const std::uint8_t>(buffer.data(), size));
  OPENSSL_cleanse(buffer.data(), buffer.size());
  return bytes;
}

// Absent when there is no such file.
std::optional<SecretBytes> readSecret(const FileDescriptor& folder, const std::filesystem::path& file) {
  const FileDescriptor descriptor(retried([&] {
    return openat(folder.number(), file.filename().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  }));
  if (!descriptor.isOpen()) {
    if (errno == ENOENT) return std::nullopt;
    throw systemRefusal("open", file, errno);
  }
  struct stat status{};
  if (fstat(descriptor.number(), &status) != 0) throw systemRefusal("examine", file, errno);
  if (!S_ISREG(status.st_mode)) throw Refusal{file.string() + " is not a regular file."};
  requirePrivate(status, file, kOthersBits, "0600");
  return readAll(descriptor, file);
}

void sync(const std::filesystem::path& folder) {
  const FileDescriptor descriptor = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
  if (!descriptor.isOpen() || retried([&] { return fsync(descriptor.number()); }) != 0)
    throw systemRefusal("sync", folder, errno);
}

void createFolders(const std::filesystem::path& folder) {
  if (mkdir(folder.c_str(), 0700) == 0) {
    if (chmod(folder.c_str(), 0700) != 0) throw systemRefusal("create", folder, errno);
    sync(folder.parent_path());
    return;
  }
  if (errno == EEXIST) return;
  if (errno != ENOENT || folder == folder.parent_path()) throw systemRefusal("create", folder, errno);
  createFolders(folder.parent_path());
  createFolders(folder);
}

void writeAll(const FileDescriptor& descriptor, const SecretBytes& data, const std::filesystem::path& file) {
  std::span<const std::uint8_t> rest = data.span();
  while (!rest.empty()) {
    const ssize_t count = write(descriptor.number(), rest.data(), rest.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) throw systemRefusal("write", file, count < 0 ? errno : EIO);
    rest = rest.subspan(static_cast<std::size_t>(count));
  }
  if (fchmod(descriptor.number(), 0600) != 0 || retried([&] { return fsync(descriptor.number()); }) != 0)
    throw systemRefusal("write", file, errno);
}

// A file under a name of its own that goes when the writer is done with it. The folder is locked meanwhile, so one
// that is found there belongs to a process that died.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : path(target.parent_path() / ("." + target.filename().string() + ".tmp")) {
    unlink(path.c_str());
    descriptor = FileDescriptor::open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (!descriptor.isOpen()) throw systemRefusal("create", path, errno);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { unlink(path.c_str()); }

  const std::filesystem::path path;
  FileDescriptor descriptor;
};

// Fails with EEXIST when the file is there. Moved, so that no second name stays when the process dies here; only a
// file system that can't move without replacing gets a link.
int giveName(const std::filesystem::path& temporary, const std::filesystem::path& file) {
  const int moved = renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, file.c_str(), RENAME_NOREPLACE);
  return moved != 0 && errno == EINVAL ? link(temporary.c_str(), file.c_str()) : moved;
}

SecretAddition::Outcome addFile(const std::filesystem::path& file, const SecretBytes& data) {
  const std::filesystem::path folder = file.parent_path();
  createFolders(folder);
  const FileDescriptor open = openFolder(folder);
  const auto lock = FileLock::onFolder(folder, kLockPatience);
  if (!lock) throw Refusal{"Another process holds the key folder " + folder.string() + "."};
  if (readSecret(open, file)) return SecretAddition::Outcome::duplicate;
  const TemporaryFile temporary(file);
  writeAll(temporary.descriptor, data, file);
  if (giveName(temporary.path, file) != 0) {
    if (errno == EEXIST) return SecretAddition::Outcome::duplicate;
    throw systemRefusal("create", file, errno);
  }
  sync(folder);
  return SecretAddition::Outcome::added;
}

struct FileObserver : SecretStoreObserver {
  explicit FileObserver(std::unique_ptr<FileWatch> fileWatch) : watch(std::move(fileWatch)) {}

  std::unique_ptr<FileWatch> watch;
};

}  // namespace

SecretLookup KeyFileSecretStore::find(const SecretAttributes& attributes) {
  try {
    const std::filesystem::path path = folderFor(_base, attributes);
    const FileDescriptor folder = openFolder(path);
    if (!folder.isOpen()) return {};
    auto bytes = readSecret(folder, path / attributes.account);
    if (!bytes) return {};
    return {SecretLookup::Outcome::found, std::move(*bytes), {}};
  } catch (const Refusal& refusal) {
    return {SecretLookup::Outcome::unavailable, {}, refusal.reason};
  }
}

SecretAddition KeyFileSecretStore::add(const SecretAttributes& attributes, const std::string&,
                                       const SecretBytes& data) {
  try {
    return {addFile(folderFor(_base, attributes) / attributes.account, data), {}};
  } catch (const Refusal& refusal) {
    return {SecretAddition::Outcome::failed, refusal.reason};
  }
}

std::unique_ptr<SecretStoreObserver> KeyFileSecretStore::observe(const SecretAttributes& attributes,
                                                                 std::function<void()> changed) {
  try {
    auto watch = InotifyFileEvents().watch(folderFor(_base, attributes) / attributes.account, std::move(changed));
    if (watch) return std::make_unique<FileObserver>(std::move(watch));
  } catch (const Refusal&) {
    // Without a place for the file there is nothing to watch.
  }
  return nullptr;
}

}  // namespace pellora
