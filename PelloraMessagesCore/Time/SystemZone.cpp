#include "PelloraMessagesCore/Time/SystemZone.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Time/BuiltInZones.h"
#include "PelloraMessagesCore/Time/PosixZoneRule.h"
#include "PelloraMessagesCore/Time/ZoneFile.h"
#include "PelloraMessagesCore/Time/ZoneRules.h"

namespace pellora::SystemZone {

namespace {

namespace fs = std::filesystem;

ZoneFinder finder(ZoneRules rules) {
  return [rules = std::move(rules)](std::int64_t seconds) { return rules.stretch(seconds); };
}

ZoneFinder utc() {
  return finder(ZoneRules());
}

// Empty when there is no such file or no rules in it.
ZoneFinder inFile(const fs::path& file) {
  const auto bytes = AtomicFile::read(file, ZoneFile::kLargestFile);
  if (!bytes) return {};
  auto rules = ZoneFile::read(*bytes);
  if (!rules) return {};
  return finder(std::move(*rules));
}

bool staysInside(const fs::path& name) {
  return !name.empty() && name.is_relative() && std::find(name.begin(), name.end(), fs::path("..")) == name.end();
}

ZoneFinder inDatabase(std::string_view name, const Places& places) {
  const fs::path path(name);
  if (!staysInside(path)) return {};
  return inFile(places.database / path);
}

bool isMissing(const fs::path& database) {
  std::error_code failure;
  return !fs::is_directory(database, failure);
}

// "Europe/Berlin" of "/usr/share/zoneinfo/posix/Europe/Berlin" and the like.
std::string_view nameInPath(std::string_view path) {
  constexpr std::string_view kFolder = "zoneinfo/";
  if (const std::size_t folder = path.rfind(kFolder); folder != std::string_view::npos)
    path.remove_prefix(folder + kFolder.size());
  for (const std::string_view variant : {"posix/", "right/"})
    if (path.starts_with(variant)) path.remove_prefix(variant.size());
  return path;
}

ZoneFinder builtIn(std::string_view path) {
  ZoneFinder found = BuiltInZones::named(nameInPath(path));
  return found ? found : utc();
}

ZoneFinder ofMachine(const Places& places) {
  if (ZoneFinder found = inFile(places.localTime)) return found;
  if (!isMissing(places.database)) return utc();
  std::error_code failure;
  const fs::path target = fs::read_symlink(places.localTime, failure);
  return failure ? utc() : builtIn(target.native());
}

}  // namespace

Places places() {
  Places result;
  if (const char* variable = std::getenv("TZ"); variable != nullptr) result.variable = variable;
  if (const char* folder = std::getenv("TZDIR"); folder != nullptr && *folder != '\0') result.database = folder;
  return result;
}

ZoneFinder current(const Places& places) {
  if (!places.variable) return ofMachine(places);
  std::string_view value = *places.variable;
  if (value.starts_with(':')) value.remove_prefix(1);
  if (value.empty()) return utc();
  if (ZoneFinder found = value.starts_with('/') ? inFile(value) : inDatabase(value, places)) return found;
  if (const auto rule = PosixZoneRule::parse(value)) return finder(ZoneRules(0, {}, rule));
  return isMissing(places.database) ? builtIn(value) : utc();
}

ZoneFinder named(std::string_view name, const Places& places) {
  if (ZoneFinder found = inDatabase(name, places)) return found;
  return isMissing(places.database) ? builtIn(name) : utc();
}

}  // namespace pellora::SystemZone
