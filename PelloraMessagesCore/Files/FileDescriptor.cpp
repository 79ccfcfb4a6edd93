#include "PelloraMessagesCore/Files/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace pellora {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(_number, other._number);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (_number >= 0) ::close(_number);
}

FileDescriptor FileDescriptor::open(const std::filesystem::path& file, int flags, unsigned mode) {
  return FileDescriptor(
      retried([&] { return ::open(file.c_str(), flags | O_CLOEXEC | O_NOCTTY, static_cast<mode_t>(mode)); }));
}

bool FileDescriptor::close() {
  // An interrupted close has closed.
  return ::close(std::exchange(_number, -1)) == 0 || errno == EINTR;
}

}  // namespace pellora
