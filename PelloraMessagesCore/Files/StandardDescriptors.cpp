#include "PelloraMessagesCore/Files/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace pellora::StandardDescriptors {

void fillClosed() {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    if (::fcntl(number, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest free number is given, and those below this one are open.
    [[maybe_unused]] const int opened = ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace pellora::StandardDescriptors
