#include "Adapters/Linux/Files/InotifyFileEvents.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <cstring>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

constexpr std::size_t kBufferSize = std::size_t{64} << 10;  // bytes, thousands of events
constexpr int kReadsAtOnce = 16;                            // a writer that never stops must not keep the loop here

// Whether the events in the buffer say that the file was written; lost events may have said so.
bool tellsOfWriting(const char* bytes, std::size_t size) {
  bool result = false;
  for (std::size_t at = 0; at + sizeof(inotify_event) <= size;) {
    inotify_event event{};
    std::memcpy(&event, bytes + at, sizeof event);
    result = result || (event.mask & (IN_MODIFY | IN_Q_OVERFLOW)) != 0;
    at += sizeof event + event.len;
  }
  return result;
}

class InotifyWatch : public FileWatch {
 public:
  InotifyWatch(FileDescriptor descriptor, std::function<void()> handler)
      : _descriptor(std::move(descriptor)),
        _notifier(_descriptor.number(), QSocketNotifier::Read),
        _handler(std::move(handler)) {
    QObject::connect(&_notifier, &QSocketNotifier::activated, [this] { onReadable(); });
  }

 private:
  void onReadable() {
    if (!drain()) return;
    const std::function<void()> handler = _handler;  // the handler may destroy this watch
    handler();
  }

  bool drain() {
    alignas(inotify_event) static thread_local std::array<char, kBufferSize> buffer;
    bool written = false;
    for (int reads = 0; reads < kReadsAtOnce; ++reads) {
      const ssize_t size = read(_descriptor.number(), buffer.data(), buffer.size());
      if (size < 0 && errno == EINTR) continue;
      if (size <= 0) break;
      written = tellsOfWriting(buffer.data(), static_cast<std::size_t>(size)) || written;
    }
    return written;
  }

  FileDescriptor _descriptor;
  QSocketNotifier _notifier;
  std::function<void()> _handler;
};

}  // namespace

std::unique_ptr<FileWatch> InotifyFileEvents::watch(const std::filesystem::path& file, std::function<void()> handler) {
  FileDescriptor descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!descriptor.isOpen() || inotify_add_watch(descriptor.number(), file.c_str(), IN_MODIFY) < 0) return nullptr;
  return std::make_unique<InotifyWatch>(std::move(descriptor), std::move(handler));
}

}  // namespace pellora
