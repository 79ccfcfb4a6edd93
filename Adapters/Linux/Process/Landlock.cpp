#include "Adapters/Linux/Process/Landlock.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

// The kernel's interface beyond what the oldest headers we build with know.
struct RulesetAttributes {
  std::uint64_t handledFiles = 0;
  std::uint64_t handledNetwork = 0;
  std::uint64_t scoped = 0;
};
struct PortAttributes {
  std::uint64_t allowed = 0;
  std::uint64_t port = 0;
};
constexpr std::uint64_t kRefer = 1ULL << 13;
constexpr std::uint64_t kTruncate = 1ULL << 14;
constexpr std::uint64_t kBindTcp = 1ULL << 0;
constexpr std::uint64_t kConnectTcp = 1ULL << 1;
constexpr std::uint64_t kScopeSignals = 1ULL << 1;
constexpr int kRuleForPort = 2;
constexpr int kFirstWithRefer = 2;
constexpr int kFirstWithTruncate = 3;

constexpr std::uint64_t kReading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWriting = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                   LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                   LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                                   LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                   LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
// Links, pipes and devices are ruled as well, and allowed nowhere. A link in one of the helper's folders would lead the
// companion, which has more rights, elsewhere.
constexpr std::uint64_t kWritingFiles = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                        LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                        LANDLOCK_ACCESS_FS_MAKE_REG;
constexpr std::uint64_t kEverything = kReading | kWritingFiles | kRefer | kTruncate;
constexpr std::uint64_t kOnFiles = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate;

std::uint64_t rightsOf(Landlock::Access access) {
  switch (access) {
    case Landlock::Access::reading:
      return kReading;
    case Landlock::Access::readingAndMakingEmptyFiles:
      return kReading | LANDLOCK_ACCESS_FS_MAKE_REG;
    case Landlock::Access::everything:
      return kEverything;
    case Landlock::Access::everythingAndSockets:
      break;
  }
  return kEverything | LANDLOCK_ACCESS_FS_MAKE_SOCK;
}

}  // namespace

int Landlock::version() {
  const long result = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  return result < 0 ? 0 : static_cast<int>(result);
}

int Landlock::refusal() {
  // ENOSYS: not built in; EOPNOTSUPP: switched off at boot.
  if (version() > 0 || errno == ENOSYS || errno == EOPNOTSUPP) return 0;
  return errno;
}

Landlock::Landlock(bool restrictsTcp) {
  const int version = Landlock::version();
  _handled = kReading | kWriting;
  if (version >= kFirstWithRefer) _handled |= kRefer;
  if (version >= kFirstWithTruncate) _handled |= kTruncate;
  RulesetAttributes attributes{_handled, 0, 0};
  // An older kernel takes the first part of the attributes only.
  std::size_t size = offsetof(RulesetAttributes, handledNetwork);
  if (version >= kFirstWithNetwork) size = offsetof(RulesetAttributes, scoped);
  if (restrictsTcp && version >= kFirstWithNetwork) attributes.handledNetwork = kBindTcp | kConnectTcp;
  if (version >= kFirstWithSignals) {
    size = sizeof attributes;
    attributes.scoped = kScopeSignals;
  }
  _descriptor = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, size, 0));
  keepError(_descriptor);
}

Landlock::~Landlock() {
  if (_descriptor >= 0) close(_descriptor);
}

void Landlock::keepError(long result) {
  if (result < 0 && _error == 0) _error = errno;
}

void Landlock::allow(const std::filesystem::path& path, Access access) {
  const FileDescriptor parent = FileDescriptor::open(path, O_PATH);
  struct stat status{};
  if (!parent.isOpen() || fstat(parent.number(), &status) != 0) return;
  landlock_path_beneath_attr rule{};
  rule.parent_fd = parent.number();
  rule.allowed_access = rightsOf(access) & _handled;
  if (!S_ISDIR(status.st_mode)) rule.allowed_access &= kOnFiles;
  keepError(syscall(SYS_landlock_add_rule, _descriptor, LANDLOCK_RULE_PATH_BENEATH, &rule, 0));
}

void Landlock::allowConnecting(std::uint16_t port) {
  if (version() < kFirstWithNetwork) return;
  const PortAttributes rule{kConnectTcp, port};
  keepError(syscall(SYS_landlock_add_rule, _descriptor, kRuleForPort, &rule, 0));
}

int Landlock::enforce() {
  keepError(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
  if (_error == 0) keepError(syscall(SYS_landlock_restrict_self, _descriptor, 0));
  return _error;
}

}  // namespace pellora
