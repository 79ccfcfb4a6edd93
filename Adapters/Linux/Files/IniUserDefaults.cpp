#include "Adapters/Linux/Files/IniUserDefaults.h"

#include <cerrno>
#include <charconv>

#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/KeyFile.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

constexpr char kGroup[] = "General";
constexpr std::size_t kMaximumSize = std::size_t{1} << 20;  // bytes
constexpr std::chrono::milliseconds kLockPatience(2000);

void apply(KeyFile& file, const std::string& key, bool value) {
  file.setValue(kGroup, key, value ? "true" : "false");
}

void apply(KeyFile& file, const std::string& key, std::int64_t value) {
  file.setValue(kGroup, key, std::to_string(value));
}

void apply(KeyFile& file, const std::string& key, const std::string& value) {
  file.setText(kGroup, key, value);
}

void apply(KeyFile& file, const std::string& key, Instant value) {
  file.setValue(kGroup, key, IsoDate::preciseText(value));
}

// Where the file lies when its name is a link, so that the link stays one.
std::filesystem::path resolved(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::path target = std::filesystem::canonical(file, error);
  return error ? file : target;
}

// A file that is there but cannot be read must not be replaced by one without its content.
std::string content(const std::filesystem::path& file) {
  if (auto bytes = AtomicFile::read(file, kMaximumSize)) return std::move(*bytes);
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) return {};
  if (status.type() == std::filesystem::file_type::directory) throw FileError("read", file, EISDIR);
  if (std::filesystem::file_size(file, error) > kMaximumSize && !error) throw FileError("read", file, EFBIG);
  throw FileError("read", file, EACCES);
}

}  // namespace

std::optional<std::filesystem::path> IniUserDefaults::standardFile() {
  const auto config = XdgFolders::config();
  if (!config) return std::nullopt;
  return *config / "app.pellora.messages" / "defaults.ini";
}

std::optional<std::string> IniUserDefaults::text(const std::string& key) const {
  return KeyFile(content(_file), kGroup).text(kGroup, key);
}

std::optional<std::int64_t> IniUserDefaults::integer(const std::string& key) const {
  const auto spelled = text(key);
  if (!spelled) return std::nullopt;
  std::int64_t value = 0;
  const char* end = spelled->data() + spelled->size();
  const std::from_chars_result result = std::from_chars(spelled->data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return value;
}

std::optional<Instant> IniUserDefaults::date(const std::string& key) const {
  const auto spelled = text(key);
  if (!spelled) return std::nullopt;
  return IsoDate::parse(*spelled);
}

bool IniUserDefaults::boolean(const std::string& key) const {
  return text(key) == "true";
}

void IniUserDefaults::store(const std::vector<Change>& changes) {
  const std::filesystem::path file = resolved(_file);
  // Two processes that store at once must not undo each other. Without the lock (a first store, a folder on a file
  // system without locks) the last one counts, which loses no file.
  const auto lock = FileLock::onFolder(file.parent_path(), kLockPatience);
  KeyFile settings(content(file), kGroup);
  for (const auto& [key, value] : changes)
    std::visit([&, &name = key](const auto& typed) { apply(settings, name, typed); }, value);
  AtomicFile::write(file, settings.bytes());
}

}  // namespace pellora
