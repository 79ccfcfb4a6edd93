#include "Companion/History/HistorySource.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "Companion/History/HistoryDatabase.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

namespace fs = std::filesystem;

constexpr char kDatabaseName[] = "chat.db";
constexpr char kFolderInHome[] = "Library/Messages";

// With its log.
std::uintmax_t sizeOf(const fs::path& database) {
  std::uintmax_t sum = 0;
  for (const char* suffix : {"", "-wal"}) {
    std::error_code error;
    const auto size = fs::file_size(database.string() + suffix, error);
    if (!error) sum += size;
  }
  return sum;
}

// How to get at what another user's folder holds. Of a whole home it is only one folder that is wanted.
std::string copying(const fs::path& folder) {
  const std::string parent = folder.parent_path().filename().string();
  const bool isHome = parent == "Users" || parent == "home";
  const fs::path wanted = isHome ? folder / kFolderInHome : folder;
  return " Copy it to a folder of yours first: sudo cp -r " + display::shellWord(wanted.string()) +
         " ~/copied-messages && sudo chown -R \"$USER\" ~/copied-messages && pellora-companion history add "
         "~/copied-messages";
}

// What to do about a source that cannot be read.
std::string remedy(const StoreProbe& probe) {
  using Kind = StoreProbe::Kind;
  switch (probe.kind) {
    case Kind::noPermission:
      return copying(probe.file.parent_path());
    case Kind::notAFile:
    case Kind::notADatabase:
    case Kind::notMessages:
      return " Give chat.db of Messages, a folder that holds it, or the folder of a phone backup.";
    case Kind::empty:
    case Kind::truncated:
      return " Copy it again, whole.";
    case Kind::foreignLog:
      return " Copy both again, together.";
    case Kind::damaged:
      return " Copy it again, with its log, while Messages does not run.";
    case Kind::locked:
      return " Close that program and try again.";
    case Kind::readable:
    case Kind::missing:
    case Kind::readOnly:
    case Kind::unreadable:
      return {};
  }
  return {};
}

[[noreturn]] void refuse(const StoreProbe& probe) {
  throw CompanionFailure(probe.sentence() + " Nothing was changed." + remedy(probe));
}

// Throws when a folder that is there cannot be looked into; `wanted` is what has to be copied then.
void needAccess(const fs::path& folder, const fs::path& wanted) {
  if (::access(folder.c_str(), R_OK | X_OK) == 0 || errno == ENOENT) return;
  const std::string reason = std::generic_category().message(errno);
  throw CompanionFailure("The folder " + display::printable(folder.string()) + " cannot be read: " + reason + "." +
                         copying(wanted));
}

// Throws when a file of a backup is there and cannot be read.
void needFile(const fs::path& file, const fs::path& backup) {
  const std::string obstacle = reading_obstacle::find(file);
  if (obstacle.empty() || obstacle == "not there") return;
  const bool isForbidden = obstacle == std::generic_category().message(EACCES);
  throw CompanionFailure(display::printable(file.string()) + " cannot be read: " + obstacle + ". Nothing was changed." +
                         (isForbidden ? copying(backup) : ""));
}

// Throws when what a backup holds is hidden from this user: it would look like a backup without it.
PhoneBackup openBackup(const fs::path& folder) {
  needFile(folder / "Manifest.plist", folder);
  needFile(folder / "Manifest.db", folder);
  needAccess(folder / PhoneBackup::kHistoryFolder, folder);
  PhoneBackup backup(folder);
  needFile(backup.database(), folder);
  return backup;
}

// The database in a folder, or in the home that the folder is; absent when there is none.
std::optional<fs::path> databaseIn(const fs::path& folder) {
  std::error_code error;
  const fs::path inHome = folder / kFolderInHome;
  if (fs::exists(folder / kDatabaseName, error)) return folder / kDatabaseName;
  for (const fs::path& each : {inHome.parent_path(), inHome}) needAccess(each, inHome);
  if (fs::exists(inHome / kDatabaseName, error)) return inHome / kDatabaseName;
  return std::nullopt;
}

// The one backup in a folder of backups.
fs::path backupIn(const fs::path& folder) {
  const std::vector<fs::path> backups = PhoneBackup::allIn(folder);
  if (backups.size() == 1) return backups.front();
  const std::string name = display::printable(folder.string());
  if (backups.empty())
    throw CompanionFailure("There is neither chat.db nor a phone backup in " + name +
                           "; nothing was changed. Give the folder that holds one of them.");
  std::string names;
  for (const fs::path& backup : backups)
    names += (names.empty() ? "" : ", ") + display::printable(backup.filename().string());
  throw CompanionFailure("There are several phone backups in " + name +
                         "; nothing was changed. Give one of them: " + names + ".");
}

}  // namespace

HistorySource HistorySource::find(const fs::path& path) {
  HistorySource source;
  std::error_code error;
  source._path = fs::absolute(path, error).lexically_normal();
  if (fs::status(source._path, error).type() == fs::file_type::not_found)
    throw CompanionFailure("There is no file or folder " + display::printable(source._path.string()) +
                           "; nothing was changed. Check its name, or connect the disk that it is on.");
  fs::path database = source._path;
  if (fs::is_directory(source._path, error)) {
    needAccess(source._path, source._path);
    const bool isBackup = PhoneBackup::isAt(source._path);
    const auto found = isBackup ? std::nullopt : databaseIn(source._path);
    if (!found) {
      source._backup.emplace(openBackup(isBackup ? source._path : backupIn(source._path)));
      source._database = source._backup->database();
      return source;
    }
    database = *found;
  }
  // A log lies beside the real file, not beside a link to it.
  source._database = fs::canonical(database, error);
  if (error) source._database = database;
  const StoreProbe probe = StoreProbe::of(source._database);
  // A log whose folder cannot be written is copied to one that can.
  source._mustBeCopied =
      probe.kind == StoreProbe::Kind::readOnly || ::access(source._database.parent_path().c_str(), W_OK) != 0;
  if (!probe.isReadable() && probe.kind != StoreProbe::Kind::readOnly) refuse(probe);
  source._lacksLog = probe.lacksLog;
  return source;
}

std::uintmax_t HistorySource::size() const {
  return _backup ? _backup->size() : sizeOf(_database);
}

bool HistorySource::copyDatabase(const fs::path& file, const Proceed& proceed) const {
  const fs::path log = _database.string() + "-wal";
  std::error_code error;
  if (fs::exists(log, error) && !copyFile(log, file.string() + "-wal", nullptr, 0, proceed)) return false;
  return copyFile(_database, file, nullptr, 0, proceed);
}

bool HistorySource::bring(const fs::path& file, const Proceed& proceed) const {
  bool wasStopped = false;
  const Proceed watched = [&](int hundredths) {
    wasStopped = wasStopped || !proceed(hundredths);
    return !wasStopped;
  };
  try {
    if (_backup || _mustBeCopied) {
      const bool isDone = _backup ? _backup->extract(file, watched) : copyDatabase(file, watched);
      if (!isDone) return false;
      // Said of the copy, meant of the source: they hold the same.
      StoreProbe probe = StoreProbe::of(file);
      probe.file = _database;
      if (!probe.isReadable() && _backup)
        throw CompanionFailure(probe.sentence() +
                               " Nothing was changed. Make the backup again, or copy all of it again.");
      if (!probe.isReadable()) refuse(probe);
      HistoryDatabase(file, HistoryDatabase::Mode::write).execute("PRAGMA wal_checkpoint(TRUNCATE)");
    } else {
      HistoryDatabase source(_database, HistoryDatabase::Mode::read);
      HistoryDatabase(file, HistoryDatabase::Mode::create).copyFrom(source, watched);
    }
  } catch (const HistoryDatabase::Error& error) {
    if (wasStopped) return false;
    if (error.isBusy())
      throw CompanionFailure("Another program keeps changing " + display::printable(_database.string()) +
                             "; nothing was changed. Try again when it is done.");
    throw CompanionFailure("The history cannot be copied from " + display::printable(_database.string()) + ": " +
                           error.what() + ". Nothing was changed.");
  }
  return true;
}

std::string HistorySource::missing() const {
  if (_backup && !_backup->isFinished())
    return "What the backup that was being made would have brought: it is unfinished. Let it finish, then: "
           "pellora-companion history refresh";
  if (_backup) return "What came after the backup was made.";
  if (!_lacksLog) return {};
  return "There is no log (" + _database.filename().string() +
         "-wal) beside the database: if Messages was running when it was copied, its newest messages are missing. "
         "Copy chat.db, chat.db-wal and chat.db-shm together.";
}

namespace {

constexpr char kFile[] = "history.json";
constexpr std::size_t kLargest = 65536;  // bytes

}  // namespace

std::optional<HistoryRecord> HistoryRecord::read(const std::optional<std::filesystem::path>& settings) {
  if (!settings) return std::nullopt;
  const auto bytes = AtomicFile::read(*settings / kFile, kLargest);
  const auto json = bytes ? JsonValue::parse(*bytes) : std::nullopt;
  if (!json || (*json)["source"].text().empty()) return std::nullopt;
  HistoryRecord record;
  record.source = (*json)["source"].text();
  record.kind = (*json)["kind"].text();
  if (const auto& file = (*json)["passwordFile"].text(); !file.empty()) record.passwordFile = file;
  const auto addedAt = IsoDate::parse((*json)["addedAt"].text());
  if (!addedAt) return std::nullopt;
  record.addedAt = *addedAt;
  record.messages = (*json)["messages"].integer().value_or(0);
  record.newMessages = (*json)["newMessages"].integer().value_or(0);
  return record;
}

void HistoryRecord::write(const std::optional<std::filesystem::path>& settings) const {
  if (!settings) return;
  JsonValue json = JsonValue::object({{"source", source.string()},
                                      {"kind", kind},
                                      {"addedAt", IsoDate::text(addedAt)},
                                      {"messages", messages},
                                      {"newMessages", newMessages}});
  if (passwordFile) json.set("passwordFile", passwordFile->string());
  AtomicFile::write(*settings / kFile, json.dump() + "\n");
}

}  // namespace pellora
