#include "Companion/People/InputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::input_file {

namespace {

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
  throw CompanionFailure("Cannot read " + (name == "-" ? "standard input" : display::printable(name)) + ": " + reason +
                         ".");
}

}  // namespace

std::string read(const std::string& name) {
  FileDescriptor file;
  if (name != "-") file = FileDescriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (name != "-" && !file.isOpen()) fail(name, std::generic_category().message(errno));
  const int descriptor = name == "-" ? STDIN_FILENO : file.number();
  std::string bytes;
  std::array<char, 65536> buffer{};
  while (true) {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(name, std::generic_category().message(errno));
    if (count == 0) return bytes;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (bytes.size() > kMaximumSize) fail(name, "it is larger than 256 MB");
  }
}

}  // namespace pellora::input_file
