#include "Adapters/Linux/Files/InotifyFileEvents.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

constexpr std::size_t kBufferSize = std::size_t{64} << 10;  // bytes, thousands of events
constexpr int kReadsAtOnce = 16;                            // a writer that never stops must not keep the loop here
constexpr int kMaximumLinks = 40;                           // as the kernel's own limit
constexpr int kAttempts = 8;                                // to resolve a path that changes all the time
constexpr std::string_view kLogSuffix = "-wal";

constexpr std::uint32_t kGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT;
// Without permissions: they would tell of those of every file in the folder, and wake the process for nothing.
constexpr std::uint32_t kOnTheWay = IN_DELETE_SELF | IN_MOVE_SELF | IN_DONT_FOLLOW;
constexpr std::uint32_t kNextName = IN_CREATE | IN_MOVED_TO | IN_ATTRIB;
constexpr std::uint32_t kLogChanges = IN_MODIFY | IN_MOVED_TO;
constexpr std::uint32_t kFileChanges = IN_MODIFY | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ATTRIB;

// Where a path leads at the moment.
struct Resolution {
  std::vector<std::filesystem::path> way;  // the folders and links passed
  std::filesystem::path folder;            // the last folder that exists
  std::string name;                        // the next name in it: the file's, or that of a folder that is missing
  bool isWhole = false;                    // the name is the file's
  dev_t device = 0;                        // of the file, 0 while it is missing
  ino_t inode = 0;

  bool operator==(const Resolution&) const = default;
};

std::deque<std::string> namesOf(const std::filesystem::path& path) {
  std::deque<std::string> names;
  for (const std::filesystem::path& name : path)
    if (!name.empty() && name != "/" && name != ".") names.push_back(name.string());
  return names;
}

Resolution resolve(const std::filesystem::path& path) {
  Resolution result;
  result.folder = "/";
  std::deque<std::string> names = namesOf(path);
  for (int links = 0; !names.empty();) {
    result.name = names.front();
    names.pop_front();
    if (result.name == "..") {
      result.folder = result.folder.parent_path();
      continue;
    }
    const std::filesystem::path next = result.folder / result.name;
    struct stat status{};
    const bool isThere = lstat(next.c_str(), &status) == 0;
    if (isThere && S_ISLNK(status.st_mode) && ++links <= kMaximumLinks) {
      result.way.push_back(next);
      std::error_code error;
      const std::filesystem::path target = std::filesystem::read_symlink(next, error);
      std::deque<std::string> replaced = namesOf(target);
      names.insert(names.begin(), replaced.begin(), replaced.end());
      if (target.is_absolute()) result.folder = "/";
      continue;
    }
    result.isWhole = names.empty();
    if (isThere && result.isWhole) {
      result.device = status.st_dev;
      result.inode = status.st_ino;
    }
    if (!isThere || result.isWhole || !S_ISDIR(status.st_mode)) break;
    result.way.push_back(next);
    result.folder = next;
  }
  return result;
}

class InotifyWatch : public FileWatch {
 public:
  InotifyWatch(FileDescriptor descriptor, std::filesystem::path file, std::function<void()> handler)
      : _descriptor(std::move(descriptor)),
        _notifier(_descriptor.number(), QSocketNotifier::Read),
        _file(std::move(file)),
        _handler(std::move(handler)) {
    QObject::connect(&_notifier, &QSocketNotifier::activated, [this] { onReadable(); });
  }

  // False when the kernel does not watch the folder that matters.
  bool arm() {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      for (const int watch : std::exchange(_watches, {})) inotify_rm_watch(_descriptor.number(), watch);
      _resolution = resolve(_file);
      for (const std::filesystem::path& each : _resolution.way) add(each, kOnTheWay);
      _folderWatch = add(_resolution.folder, _resolution.isWhole ? kFileChanges : kNextName);
      if (resolve(_file) == _resolution) break;
    }
    return _folderWatch >= 0;
  }

 private:
  int add(const std::filesystem::path& path, std::uint32_t mask) {
    const int watch = inotify_add_watch(_descriptor.number(), path.c_str(), mask | IN_MASK_ADD);
    if (watch >= 0) _watches.push_back(watch);
    return watch;
  }

  void onReadable() {
    bool isChanged = false;
    bool isMoved = false;
    drain(isChanged, isMoved);
    if (isMoved) {
      const Resolution before = _resolution;
      arm();
      isChanged = isChanged || before != _resolution;
    }
    if (!isChanged) return;
    const std::function<void()> handler = _handler;  // the handler may destroy this watch
    handler();
  }

  void drain(bool& isChanged, bool& isMoved) {
    alignas(inotify_event) static thread_local std::array<char, kBufferSize> buffer;
    for (int reads = 0; reads < kReadsAtOnce; ++reads) {
      const ssize_t size = read(_descriptor.number(), buffer.data(), buffer.size());
      if (size < 0 && errno == EINTR) continue;
      if (size <= 0) break;
      const auto end = static_cast<std::size_t>(size);
      for (std::size_t at = 0; at + sizeof(inotify_event) <= end;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char* name = event.len == 0 ? "" : buffer.data() + at + sizeof event;
        take(event, name, isChanged, isMoved);
        at += sizeof event + event.len;
      }
    }
  }

  void take(const inotify_event& event, std::string_view name, bool& isChanged, bool& isMoved) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
      isChanged = isMoved = true;
      return;
    }
    if (std::find(_watches.begin(), _watches.end(), event.wd) == _watches.end()) return;
    if ((event.mask & kGone) != 0) {
      isMoved = true;
    } else if (name.empty()) {
      // The folder has other permissions.
      if ((event.mask & IN_ATTRIB) != 0) isChanged = isMoved = true;
    } else if (event.wd == _folderWatch && name == _resolution.name) {
      isChanged = true;
      if ((event.mask & ~std::uint32_t{IN_MODIFY | IN_ATTRIB}) != 0 || !_resolution.isWhole) isMoved = true;
    } else if (event.wd == _folderWatch && _resolution.isWhole && isLog(name) && (event.mask & kLogChanges) != 0) {
      isChanged = true;
    }
  }

  bool isLog(std::string_view name) const {
    return name.size() == _resolution.name.size() + kLogSuffix.size() && name.starts_with(_resolution.name) &&
           name.ends_with(kLogSuffix);
  }

  FileDescriptor _descriptor;
  QSocketNotifier _notifier;
  std::filesystem::path _file;
  std::function<void()> _handler;
  Resolution _resolution;
  std::vector<int> _watches;
  int _folderWatch = -1;
};

}  // namespace

std::unique_ptr<FileWatch> InotifyFileEvents::watch(const std::filesystem::path& file, std::function<void()> handler) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(file, error);
  FileDescriptor descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (error || !descriptor.isOpen()) return nullptr;
  auto watch = std::make_unique<InotifyWatch>(std::move(descriptor), absolute, std::move(handler));
  if (!watch->arm()) return nullptr;
  return watch;
}

}  // namespace pellora
