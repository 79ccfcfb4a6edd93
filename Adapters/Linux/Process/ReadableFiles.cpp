#include "Adapters/Linux/Process/ReadableFiles.h"

#include <link.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "Adapters/Linux/Files/XdgFolders.h"

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
