#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "Adapters/Linux/Files/KeyFile.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

constexpr char kEntryPath[] = "autostart/app.pellora.Messages.desktop";
constexpr char kGroup[] = "Desktop Entry";
constexpr char kExec[] = "Exec";
constexpr char kTryExec[] = "TryExec";
constexpr char kHidden[] = "Hidden";
constexpr char kEnabled[] = "X-GNOME-Autostart-enabled";
constexpr std::size_t kMaximumSize = std::size_t{256} << 10;  // bytes

// Signs of a text key's value that have an escape, and the letter after its backslash.
constexpr std::string_view kEscaped = "\\\n\t\r";
constexpr std::string_view kEscapes = "\\ntr";
// Signs that a quoted argument has a backslash before.
constexpr std::string_view kQuotedSigns = "\"`$\\";

struct Pair {
  const char* key;
  const char* value;
};

constexpr std::array<Pair, 7> kFixedPairs{{{"Type", "Application"},
                                           {"Version", "1.0"},
                                           {"Name", "Pellora for Messages"},
                                           {"Comment", "Reads Messages for Pellora"},
                                           {"Icon", "app.pellora.Messages"},
                                           {"Terminal", "false"},
                                           {"StartupNotify", "false"}}};

// The value of a text key, where a backslash and line breaks have escapes.
std::string escaped(const std::string& value) {
  std::string result;
  for (const char c : value) {
    const std::size_t place = kEscaped.find(c);
    if (place != std::string_view::npos) result += {'\\', kEscapes[place]};
    if (place == std::string_view::npos) result += c;
  }
  return result;
}

// Quoted as an argument of a command line, percent signs doubled, as the value of a text key.
std::string quoted(const std::string& argument) {
  std::string result = "\"";
  for (const char c : argument) {
    if (kQuotedSigns.find(c) != std::string_view::npos) result += '\\';
    if (c == '%') result += '%';
    result += c;
  }
  return escaped(result + '"');
}

bool startsSomething(const std::string& bytes) {
  const KeyFile entry(bytes);
  return !entry.value(kGroup, kExec).value_or("").empty() && entry.value(kGroup, kHidden) != "true" &&
         entry.value(kGroup, kEnabled) != "false";
}

bool isOwnKey(const std::string& key) {
  return key == kExec || key == kTryExec || key == kHidden || key == kEnabled ||
         std::ranges::any_of(kFixedPairs, [&](const Pair& pair) { return key == pair.key; });
}

bool hasForeignParts(const std::string& bytes) {
  const KeyFile entry(bytes);
  const std::vector<std::string> groups = entry.groups();
  return std::ranges::any_of(groups, [](const std::string& group) { return group != kGroup; }) ||
         !std::ranges::all_of(entry.keys(kGroup), isOwnKey) || bytes.find('#') != std::string::npos;
}

// The entry with its missing keys added; those that it has stay.
std::string completed(const std::string& bytes, const XdgAutostartLoginItem::Program& program, bool enabled) {
  KeyFile entry(bytes);
  for (const Pair& pair : kFixedPairs)
    if (!entry.value(kGroup, pair.key)) entry.setValue(kGroup, pair.key, pair.value);
  entry.setValue(kGroup, kExec, program.command);
  entry.setValue(kGroup, kTryExec, program.file);
  entry.setValue(kGroup, kEnabled, enabled ? "true" : "false");
  if (enabled)
    entry.erase(kGroup, kHidden);
  else
    entry.setValue(kGroup, kHidden, "true");
  return entry.bytes();
}

std::optional<std::string> read(const std::filesystem::path& file) {
  return AtomicFile::read(file, kMaximumSize);
}

bool isThere(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::symlink_status(file, error).type() != std::filesystem::file_type::not_found;
}

std::vector<std::filesystem::path> systemConfigurations() {
  const char* value = std::getenv("XDG_CONFIG_DIRS");
  std::istringstream list(value == nullptr || *value == '\0' ? "/etc/xdg" : value);
  std::vector<std::filesystem::path> folders;
  for (std::string folder; std::getline(list, folder, ':');)
    if (folder.starts_with('/')) folders.emplace_back(folder);
  return folders;
}

}  // namespace

XdgAutostartLoginItem::XdgAutostartLoginItem(const std::filesystem::path& program)
    : XdgAutostartLoginItem(program, XdgFolders::config(), systemConfigurations()) {}

XdgAutostartLoginItem::XdgAutostartLoginItem(const std::filesystem::path& program,
                                             const std::optional<std::filesystem::path>& userConfiguration,
                                             const std::vector<std::filesystem::path>& systemConfigurations)
    : _program{quoted(program.string()) + " --background", escaped(program.string())} {
  if (userConfiguration) _userFile = *userConfiguration / kEntryPath;
  for (const std::filesystem::path& folder : systemConfigurations) _systemFiles.push_back(folder / kEntryPath);
}

bool XdgAutostartLoginItem::startsThis(const std::string& bytes) const {
  const KeyFile entry(bytes);
  return entry.value(kGroup, kExec) == _program.command && entry.value(kGroup, kTryExec) == _program.file;
}

std::optional<std::string> XdgAutostartLoginItem::systemEntry() const {
  for (const std::filesystem::path& file : _systemFiles)
    if (auto bytes = read(file)) return bytes;
  return std::nullopt;
}

bool XdgAutostartLoginItem::isEnabled() const {
  if (_userFile && isThere(*_userFile)) return startsSomething(read(*_userFile).value_or(""));
  return startsSomething(systemEntry().value_or(""));
}

void XdgAutostartLoginItem::write(const std::string& bytes) const {
  if (!_userFile) return;
  try {
    // A link to a file stays a link; one to a device (a way to say "disabled") is replaced.
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(*_userFile, error);
    AtomicFile::write(std::filesystem::is_regular_file(target, error) ? target : *_userFile, bytes);
  } catch (const FileError&) {
    // Callers who want to know ask isEnabled.
  }
}

void XdgAutostartLoginItem::enable() {
  if (isEnabled()) return refresh();
  if (_userFile) write(completed(read(*_userFile).value_or(""), _program, true));
}

void XdgAutostartLoginItem::disable() {
  if (!_userFile || !isEnabled()) return;
  const std::string bytes = read(*_userFile).value_or("");
  if (systemEntry() || hasForeignParts(bytes)) return write(completed(bytes, _program, false));
  std::error_code error;
  std::filesystem::remove(*_userFile, error);
}

void XdgAutostartLoginItem::observe(std::function<void()> changed) {
  if (!_userFile) return;
  _watcher = std::make_unique<QFileSystemWatcher>();
  const auto report = [this, changed = std::move(changed)] {
    watchFolders();
    changed();
  };
  QObject::connect(_watcher.get(), &QFileSystemWatcher::directoryChanged, report);
  QObject::connect(_watcher.get(), &QFileSystemWatcher::fileChanged, report);
  watchFolders();
}

// The entry's folder, in which programs replace the file, and the file, which some write in place; while there is no
// such folder, the nearest one above it. A path that was deleted is no longer watched, so all are asked for again.
void XdgAutostartLoginItem::watchFolders() {
  std::error_code error;
  std::filesystem::path folder = _userFile->parent_path();
  while (!std::filesystem::is_directory(folder, error) && folder.has_relative_path()) folder = folder.parent_path();
  _watcher->addPath(QString::fromStdString(folder.string()));
  if (std::filesystem::is_regular_file(*_userFile, error))
    _watcher->addPath(QString::fromStdString(_userFile->string()));
}

void XdgAutostartLoginItem::refresh() {
  if (!_userFile || !isEnabled()) return;
  const auto bytes = read(*_userFile);
  if (!bytes || startsThis(*bytes)) return;
  write(completed(*bytes, _program, true));
}

}  // namespace pellora
