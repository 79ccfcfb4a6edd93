#include "Adapters/Linux/Process/Landlock.h"

#include <fcntl.h>
#include <link.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "Adapters/Linux/Files/XdgFolders.h"
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

namespace pellora::ReadableFiles {

namespace {

namespace fs = std::filesystem;

// /proc/self is this very process when the rule is made. Others' folders below /proc stay closed.
constexpr std::array kSystem = {"/usr",
                                "/etc",
                                "/lib",
                                "/lib64",
                                "/bin",
                                "/opt",
                                "/nix/store",
                                "/gnu/store",
                                "/snap",
                                "/run/current-system",
                                "/var/lib/dbus",
                                "/var/cache/fontconfig",
                                "/var/lib/sss/mc",
                                "/var/lib/flatpak/exports",
                                "/run/udev",
                                "/run/systemd",
                                "/run/opengl-driver",
                                "/sys",
                                "/proc/self",
                                "/proc/sys",
                                "/proc/cpuinfo",
                                "/proc/meminfo",
                                "/proc/filesystems",
                                "/proc/stat",
                                "/dev/null",
                                "/dev/zero",
                                "/dev/full",
                                "/dev/random",
                                "/dev/urandom",
                                "/dev/dri"};

constexpr std::array kInHome = {".fonts",     ".fonts.conf", ".fonts.conf.d", ".icons",    ".themes", ".gtkrc-2.0",
                                ".Xdefaults", ".Xauthority", ".ICEauthority", ".XCompose", ".drirc",  ".terminfo"};

constexpr std::array kInConfiguration = {
    "fontconfig",     "gtk-2.0",        "gtk-3.0",         "gtk-4.0",     "dconf",      "qt5ct",
    "qt6ct",          "Kvantum",        "kdeglobals",      "kdedefaults", "kcminputrc", "lxqt",
    "Trolltech.conf", "QtProject.conf", "QtProject",       "xsettingsd",  "ibus",       "fcitx",
    "fcitx5",         "locale.conf",    "plasma-localerc", "drirc"};

constexpr std::array kInData = {"fonts",           "icons",    "themes", "color-schemes", "glib-2.0/schemas",
                                "flatpak/exports", "kxmlgui5", "locale"};

constexpr std::array kInCache = {"fontconfig", "mesa_shader_cache", "mesa_shader_cache_db"};

// Each names a file or a folder.
constexpr std::array kVariables = {"XAUTHORITY",      "ICEAUTHORITY", "FONTCONFIG_FILE",
                                   "FONTCONFIG_PATH", "XLOCALEDIR",   "XCOMPOSEFILE",
                                   "TZDIR",           "TZ",           "QT_QPA_PLATFORM_PLUGIN_PATH",
                                   "XKB_CONFIG_ROOT", "GTK_PATH",     "OPENSSL_CONF",
                                   "SSL_CERT_DIR",    "SSL_CERT_FILE"};

// Each is a list of folders.
constexpr std::array kListVariables = {
    "LD_LIBRARY_PATH", "QT_PLUGIN_PATH",     "XDG_DATA_DIRS",     "XDG_CONFIG_DIRS",
    "XCURSOR_PATH",    "LIBGL_DRIVERS_PATH", "GBM_BACKENDS_PATH", "__EGL_VENDOR_LIBRARY_DIRS",
    "LOCPATH",         "GIO_EXTRA_MODULES"};

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

int addFolderOf(dl_phdr_info* object, std::size_t, void* folders) {
  const fs::path path = object->dlpi_name == nullptr ? "" : object->dlpi_name;
  if (path.is_absolute()) static_cast<std::set<fs::path>*>(folders)->insert(path.parent_path());
  return 0;
}

bool isAtOrAbove(const fs::path& folder, const fs::path& other) {
  const fs::path relative = other.lexically_relative(folder);
  return !relative.empty() && *relative.begin() != "..";
}

// A folder that would open the user's files as a whole is not the system's, whatever a variable says.
bool isTooMuch(const fs::path& given) {
  fs::path path = given.lexically_normal();
  if (path.filename().empty()) path = path.parent_path();
  if (path == "/" || path == "/home" || path == "/tmp") return true;
  const auto home = XdgFolders::home();
  const auto cache = home ? std::optional(*home / ".cache") : std::nullopt;
  for (const auto& folder : {XdgFolders::config(), XdgFolders::data(), XdgFolders::runtime(), cache})
    if (folder && isAtOrAbove(path, *folder)) return true;
  return false;
}

template <std::size_t count>
void append(std::vector<fs::path>& paths, const std::optional<fs::path>& folder,
            const std::array<const char*, count>& names) {
  if (!folder) return;
  for (const char* name : names) paths.push_back(*folder / name);
}

}  // namespace

std::vector<fs::path> ofSystem() {
  std::set<fs::path> folders;
  dl_iterate_phdr(addFolderOf, &folders);
  std::error_code error;
  folders.insert(fs::read_symlink("/proc/self/exe", error).parent_path());
  for (const char* name : kVariables) {
    std::string value = fromEnvironment(name);
    if (value.starts_with(':')) value.erase(0, 1);  // as TZ may
    folders.insert(value);
  }
  for (const char* name : kListVariables) {
    std::istringstream list(fromEnvironment(name));
    for (std::string folder; std::getline(list, folder, ':');) folders.insert(folder);
  }
  std::vector<fs::path> paths(kSystem.begin(), kSystem.end());
  for (const fs::path& folder : folders)
    if (folder.is_absolute() && !isTooMuch(folder)) paths.push_back(folder);
  return paths;
}

std::vector<fs::path> ofUser() {
  std::vector<fs::path> paths;
  const auto home = XdgFolders::home();
  append(paths, home, kInHome);
  append(paths, XdgFolders::config(), kInConfiguration);
  append(paths, XdgFolders::data(), kInData);
  if (home) append(paths, *home / ".cache", kInCache);
  return paths;
}

}  // namespace pellora::ReadableFiles
