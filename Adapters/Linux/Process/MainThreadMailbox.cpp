#include "Adapters/Linux/Process/MainThreadMailbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <new>
#include <utility>

namespace pellora {

MainThreadMailbox::MainThreadMailbox() : _descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (_descriptor < 0) throw std::bad_alloc();
  _notifier = std::make_unique<QSocketNotifier>(_descriptor, QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] { deliver(); });
}

MainThreadMailbox::~MainThreadMailbox() {
  _notifier.reset();
  close(_descriptor);
}

void MainThreadMailbox::post(std::function<void()> call) {
  const std::lock_guard lock(_mutex);
  _posted.push_back(std::move(call));
  eventfd_write(_descriptor, 1);
}

// The function called may destroy this object, so nothing of it is touched afterwards.
void MainThreadMailbox::deliver() {
  eventfd_t count = 0;
  eventfd_read(_descriptor, &count);
  std::vector<std::function<void()>> posted;
  {
    const std::lock_guard lock(_mutex);
    posted.swap(_posted);
  }
  for (const auto& call : posted) call();
}

}  // namespace pellora
