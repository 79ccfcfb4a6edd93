#include "Companion/History/StagedStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "Companion/History/HistoryDatabase.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"

namespace pellora {

namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = ".pellora-history-";
constexpr std::uintmax_t kSpareRoom = std::uintmax_t{16} << 20;  // bytes, for what others write meanwhile

[[noreturn]] void giveUp(const std::string& action, const fs::path& file, int code) {
  const std::string name = display::printable(file.string());
  const std::string remedy = code == EACCES || code == EPERM
                                 ? " Is it yours? sudo chown -R \"$USER\" " + display::shellWord(file.string())
                                 : "";
  throw CompanionFailure("Cannot " + action + " " + name + ": " + std::generic_category().message(code) +
                         ". Nothing was changed." + remedy);
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  if (fs::is_directory(folder, error)) return;
  if (folder.has_parent_path() && folder.parent_path() != folder) makeFolder(folder.parent_path());
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) giveUp("create the folder", folder, errno);
}

// Whether a process of this user, other than this one, has the file or its log open.
bool isOpenElsewhere(const fs::path& file) {
  std::error_code error;
  const fs::path real = fs::canonical(file, error);
  if (error) return false;
  const std::array<std::string, 2> names{real.string(), real.string() + "-wal"};
  const std::string own = std::to_string(::getpid());
  for (const auto& process : fs::directory_iterator("/proc", error)) {
    const std::string name = process.path().filename().string();
    if (name == own || name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::error_code ignored;
    for (const auto& open : fs::directory_iterator(process.path() / "fd", ignored)) {
      const std::string target = fs::read_symlink(open.path(), ignored).string();
      if (target == names[0] || target == names[1]) return true;
    }
  }
  return false;
}

// Merges the old store's log into it, which fails while anybody else has the store open. A store that cannot be opened
// at all has nothing to lose.
void settle(const fs::path& place) {
  const std::string name = display::printable(place.string());
  const std::string inUse = "Another program uses " + name + "; nothing was changed. Close it and try again.";
  if (isOpenElsewhere(place)) throw CompanionFailure(inUse);
  std::error_code error;
  if (fs::is_symlink(place, error) || !fs::exists(place, error)) return;
  try {
    HistoryDatabase old(place, HistoryDatabase::Mode::write);
    // In exclusive mode the last one to close takes the log away. Never through a rollback journal: whoever is killed
    // then leaves a store that nobody can read without writing.
    old.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
  } catch (const HistoryDatabase::Error& failure) {
    if (failure.isBusy()) throw CompanionFailure(inUse);
  }
}

void syncOf(const fs::path& path, int flags) {
  const FileDescriptor descriptor = FileDescriptor::open(path, flags);
  if (!descriptor.isOpen() || retried([&] { return ::fsync(descriptor.number()); }) != 0) giveUp("save", path, errno);
}

}  // namespace

void StagedStore::removeLeftovers(const fs::path& place) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(place.parent_path(), error)) {
    if (!entry.path().filename().string().starts_with(kPrefix) || entry.is_symlink(error)) continue;
    const FileDescriptor descriptor = FileDescriptor::open(entry.path(), O_RDONLY | O_DIRECTORY);
    if (descriptor.isOpen() && ::flock(descriptor.number(), LOCK_EX | LOCK_NB) == 0)
      fs::remove_all(entry.path(), error);
  }
}

StagedStore::StagedStore(fs::path place) : _place(std::move(place)) {
  const fs::path folder = _place.parent_path();
  makeFolder(folder);
  removeLeftovers(_place);
  std::string pattern = (folder / kPrefix).string() + "XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) giveUp("write into the folder", folder, errno);
  _folder = pattern;
  _lock = FileDescriptor::open(_folder, O_RDONLY | O_DIRECTORY);
  if (_lock.isOpen()) ::flock(_lock.number(), LOCK_EX | LOCK_NB);
}

StagedStore::~StagedStore() {
  std::error_code ignored;
  fs::remove_all(_folder, ignored);
}

void StagedStore::needRoom(std::uintmax_t bytes) const {
  std::error_code error;
  const auto space = fs::space(_folder, error);
  if (error || space.available >= bytes + kSpareRoom) return;
  throw CompanionFailure("The copy of the history needs " + display::size(bytes + kSpareRoom) +
                         " of free space, and the disk of " + display::printable(_place.parent_path().string()) +
                         " has " + display::size(space.available) + ". Nothing was changed.");
}

void StagedStore::check() const {
  try {
    HistoryDatabase database(file(), HistoryDatabase::Mode::write);
    if (database.text("PRAGMA quick_check(1)") == "ok") return;
  } catch (const HistoryDatabase::Error&) {
    // Said below.
  }
  throw CompanionFailure(
      "The history is damaged, or its log is of another time than the database; copy both again, together and while "
      "Messages does not run. Nothing was changed.");
}

std::optional<StagedStore::Difference> StagedStore::difference() const {
  std::error_code error;
  if (!fs::exists(_place, error)) return std::nullopt;
  try {
    HistoryDatabase database(file(), HistoryDatabase::Mode::read);
    std::string quoted;
    for (const char c : _place.string()) quoted += c == '\'' ? std::string("''") : std::string(1, c);
    database.execute("ATTACH '" + quoted + "' AS old");
    const auto onlyIn = [&database](const std::string& one, const std::string& other) {
      return database.integer("SELECT count(*) FROM " + one + ".message WHERE guid NOT IN (SELECT guid FROM " + other +
                              ".message WHERE guid IS NOT NULL)");
    };
    return Difference{onlyIn("main", "old"), onlyIn("old", "main"),
                      database.integer("SELECT count(*) FROM old.message")};
  } catch (const HistoryDatabase::Error&) {
    return std::nullopt;
  }
}

void StagedStore::putIntoPlace() {
  if (::chmod(file().c_str(), 0600) != 0) giveUp("protect", file(), errno);
  syncOf(file(), O_RDONLY);
  settle(_place);
  std::error_code error;
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    fs::remove(_place.string() + suffix, error);
    if (error) giveUp("remove", _place.string() + suffix, error.value());
  }
  if (::rename(file().c_str(), _place.c_str()) != 0) giveUp("replace", _place, errno);
  // The folder of messages is nobody else's business; one that belongs to somebody else stays as it is.
  if (::chmod(_place.parent_path().c_str(), 0700) != 0) errno = 0;
  syncOf(_place.parent_path(), O_RDONLY | O_DIRECTORY);
}

}  // namespace pellora
