#include "Adapters/Linux/Process/ConfinementTrial.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::ConfinementTrial {

namespace {

constexpr int kNoDescriptor = -1;

// Whether a call failed with this error: without a filter these calls fail, too, but with another one.
bool isRefused(long result, int error) {
  return result < 0 && errno == error;
}

bool isSocketRefused(int domain, int type) {
  const FileDescriptor made(socket(domain, type | SOCK_CLOEXEC, 0));
  return !made.isOpen() && errno == EACCES;
}

}  // namespace

bool writesNoCore() {
  rlimit limit{1, 1};
  return getrlimit(RLIMIT_CORE, &limit) == 0 && limit.rlim_cur == 0 && limit.rlim_max == 0;
}

bool isNotTraced() {
  return prctl(PR_GET_DUMPABLE) == 0;
}

bool startsNoProgram() {
  char* const none[] = {nullptr};
  return isRefused(execve("/nonexistent/program", none, none), EPERM);
}

bool signalsNobody() {
  // To the process with the highest number there can be: nobody has it, and signal 0 does nothing.
  return isRefused(kill(0x7FFFFFFF, 0), EPERM);
}

bool changesNoMode() {
  return isRefused(fchmod(kNoDescriptor, 0600), EPERM);
}

bool feedsNoTerminal() {
  char letter = 'x';
  return isRefused(ioctl(kNoDescriptor, TIOCSTI, &letter), EPERM);
}

bool makesNoSocket(bool mayUseTcp) {
  return isRefused(listen(kNoDescriptor, 1), EACCES) && isSocketRefused(AF_INET, SOCK_DGRAM) &&
         isSocketRefused(AF_NETLINK, SOCK_RAW) && (mayUseTcp || isSocketRefused(AF_INET6, SOCK_STREAM));
}

bool bindsNoPort() {
  const FileDescriptor stream(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return stream.isOpen() &&
         isRefused(bind(stream.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), EACCES);
}

bool readsNot(const std::filesystem::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return !opened.isOpen();
}

bool writesNot(const std::filesystem::path& folder) {
  // A file without a name, which is gone at once.
  const FileDescriptor made(open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR));
  return !made.isOpen();
}

}  // namespace pellora::ConfinementTrial
