#include "Adapters/Linux/Process/FolderReadLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

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
