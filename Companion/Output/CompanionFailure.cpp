#include "Companion/Output/CompanionFailure.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::reading_obstacle {

std::string find(const std::filesystem::path& file) {
  const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY | O_NONBLOCK);
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0)
    return errno == ENOENT || errno == ENOTDIR ? "not there" : std::generic_category().message(errno);
  return S_ISREG(status.st_mode) ? "" : "not a regular file";
}

}  // namespace pellora::reading_obstacle
