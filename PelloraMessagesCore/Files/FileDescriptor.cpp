#include "PelloraMessagesCore/Files/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
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

FileError::FileError(const std::string& action, const std::filesystem::path& file, int code)
    : FileError("Couldn't " + action + " " + file.string() + ": " + std::generic_category().message(code), code) {}

FileError FileError::noSuchFile() {
  return FileError("The shared folder isn't available: " + std::generic_category().message(ENOENT), ENOENT);
}

}  // namespace pellora

namespace pellora::StandardDescriptors {

void fillClosed() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    if (::fcntl(number, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest free number is given, and those below this one are open.
    [[maybe_unused]] const int opened = ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace pellora::StandardDescriptors
