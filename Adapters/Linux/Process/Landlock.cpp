#include "Adapters/Linux/Process/Landlock.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

// The kernel's interface beyond what the oldest headers we build with know.
struct RulesetAttributes {
  std::uint64_t handledFiles = 0;
  std::uint64_t handledNetwork = 0;
};
struct PortAttributes {
  std::uint64_t allowed = 0;
  std::uint64_t port = 0;
};
constexpr std::uint64_t kRefer = 1ULL << 13;
constexpr std::uint64_t kTruncate = 1ULL << 14;
constexpr std::uint64_t kBindTcp = 1ULL << 0;
constexpr std::uint64_t kConnectTcp = 1ULL << 1;
constexpr int kRuleForPort = 2;
constexpr int kFirstWithRefer = 2;
constexpr int kFirstWithTruncate = 3;
constexpr int kFirstWithNetwork = 4;

constexpr std::uint64_t kFileRights = LANDLOCK_ACCESS_FS_WRITE_FILE;
constexpr std::uint64_t kFolderRights = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                        LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                        LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                                        LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                        LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;

}  // namespace

int Landlock::version() {
  const long result = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  return result < 0 ? 0 : static_cast<int>(result);
}

Landlock::Landlock(bool restrictsTcp) {
  const int version = Landlock::version();
  if (version == 0) return;
  _writing = kFolderRights;
  if (version >= kFirstWithRefer) _writing |= kRefer;
  if (version >= kFirstWithTruncate) _writing |= kTruncate;
  RulesetAttributes attributes{_writing, 0};
  std::size_t size = sizeof attributes.handledFiles;
  if (restrictsTcp && version >= kFirstWithNetwork) {
    attributes.handledNetwork = kBindTcp | kConnectTcp;
    size = sizeof attributes;
  }
  _descriptor = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, size, 0));
}

Landlock::~Landlock() {
  if (_descriptor >= 0) close(_descriptor);
}

void Landlock::allow(const std::filesystem::path& path, Writing writing) {
  if (_descriptor < 0) return;
  const FileDescriptor parent(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (!parent.isOpen()) return;
  struct stat status{};
  if (fstat(parent.number(), &status) != 0) return;
  landlock_path_beneath_attr rule{};
  rule.parent_fd = parent.number();
  if (!S_ISDIR(status.st_mode))
    rule.allowed_access = kFileRights | (_writing & kTruncate);
  else if (writing == Writing::everything)
    rule.allowed_access = _writing;
  else
    rule.allowed_access = LANDLOCK_ACCESS_FS_MAKE_REG;
  syscall(SYS_landlock_add_rule, _descriptor, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

void Landlock::allowConnecting(std::uint16_t port) {
  if (_descriptor < 0) return;
  const PortAttributes rule{kConnectTcp, port};
  syscall(SYS_landlock_add_rule, _descriptor, kRuleForPort, &rule, 0);
}

bool Landlock::enforce() {
  if (_descriptor < 0) return false;
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  return syscall(SYS_landlock_restrict_self, _descriptor, 0) == 0;
}

}  // namespace pellora
