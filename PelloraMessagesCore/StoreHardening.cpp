#include "PelloraMessagesCore/StoreHardening.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <system_error>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::StoreHardening {

namespace {

constexpr int kStepsAtOnce = 100'000;  // between two looks at the count
constexpr std::size_t kHeadSize = 32;  // bytes of a log before its first frame
constexpr std::uint32_t kSmallestPage = 512;
constexpr std::uint32_t kLargestPage = 65536;

// Rows of the schema with these names that are not ordinary tables, and columns of theirs that are computed.
constexpr char kTroubleQuery[] =
    "SELECT name, type, rootpage FROM sqlite_schema "
    "WHERE lower(name) IN ('message', 'chat_message_join', 'chat_handle_join', 'handle')";
constexpr char kComputedQuery[] = "SELECT count(*) FROM pragma_table_xinfo(?) WHERE hidden <> 0";

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

Statement prepare(sqlite3* connection, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr);
  return Statement(statement);
}

std::string textOf(sqlite3_stmt* statement, int column) {
  const unsigned char* bytes = sqlite3_column_text(statement, column);
  return bytes == nullptr ? std::string() : text::repairedUtf8(reinterpret_cast<const char*>(bytes));
}

bool computesColumns(sqlite3* connection, const std::string& table) {
  const Statement statement = prepare(connection, kComputedQuery);
  if (!statement) return false;
  sqlite3_bind_text(statement.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
  return sqlite3_step(statement.get()) == SQLITE_ROW && sqlite3_column_int64(statement.get(), 0) != 0;
}

int countDown(void* argument) {
  auto& patience = *static_cast<Patience*>(argument);
  patience.steps -= kStepsAtOnce;
  return patience.steps > 0 && !patience.stop.stop_requested() ? 0 : 1;
}

std::uint32_t bigEndian(const std::array<unsigned char, kHeadSize>& bytes, std::size_t at) {
  return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 | std::uint32_t{bytes[at + 2]} << 8 |
         bytes[at + 3];
}

bool isPageSize(std::uint32_t size) {
  return size >= kSmallestPage && size <= kLargestPage && (size & (size - 1)) == 0;
}

// Whether SQLite takes nothing from the log, as far as its header shows: no byte after it, a magic number (whose last
// bit tells the byte order of the checksum), a page size or a checksum over the first 24 bytes that is none.
bool isLogVoid(const std::string& log) {
  const FileDescriptor file = FileDescriptor::open(log, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  std::array<unsigned char, kHeadSize> head{};
  if (!file.isOpen() || retried([&] { return read(file.number(), head.data(), head.size()); }) != kHeadSize)
    return false;
  unsigned char next = 0;
  if (retried([&] { return read(file.number(), &next, sizeof next); }) == 0) return true;
  const std::uint32_t magic = bigEndian(head, 0);
  if ((magic & ~1U) != 0x377F0682U || !isPageSize(bigEndian(head, 8))) return true;
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  for (std::size_t at = 0; at < 24; at += 8) {
    const auto word = [&](std::size_t position) {
      const std::uint32_t value = bigEndian(head, position);
      return (magic & 1U) != 0 ? value : __builtin_bswap32(value);
    };
    first += word(at) + second;
    second += word(at + 4) + first;
  }
  return first != bigEndian(head, 24) || second != bigEndian(head, 28);
}

}  // namespace

std::string obstacleBeside(const std::filesystem::path& store) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(store, error);
  if (error) return {};
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    const std::filesystem::path beside = real.string() + suffix;
    struct stat status{};
    if (lstat(beside.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
      return beside.filename().string() + " beside the database is not a file, so nothing is opened";
  }
  if (!makeIndexOfVoidLog(real)) return "the log " + real.filename().string() + "-wal is damaged";
  return {};
}

bool makeIndexOfVoidLog(const std::filesystem::path& store) {
  const auto index = store.string() + "-shm";
  return !isLogVoid(store.string() + "-wal") ||
         FileDescriptor::open(index, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR).isOpen();
}

void harden(sqlite3* connection, Patience& patience) {
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kMaximumLength);
  sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
  sqlite3_limit(connection, SQLITE_LIMIT_WORKER_THREADS, 0);
  sqlite3_progress_handler(connection, kStepsAtOnce, countDown, &patience);
}

std::optional<std::string> tableTrouble(sqlite3* connection) {
  const Statement statement = prepare(connection, kTroubleQuery);
  while (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
    const std::string name = textOf(statement.get(), 0);
    const bool isTable = textOf(statement.get(), 1) == "table";
    // An index may have any name; what is read is found by its name among tables and views.
    if (!isTable && textOf(statement.get(), 1) != "view") continue;
    if (!isTable || sqlite3_column_int64(statement.get(), 2) <= 0) return name + " is not an ordinary table";
    if (computesColumns(connection, name)) return name + " is not an ordinary table: it computes columns";
  }
  if (sqlite3_errcode(connection) == SQLITE_BUSY) return std::nullopt;
  return std::string();
}

std::string errorText(sqlite3* connection) {
  const int code = sqlite3_errcode(connection);
  if (code == SQLITE_INTERRUPT) return "reading takes more steps than the largest store needs";
  return text::repairedUtf8(sqlite3_errmsg(connection));
}

}  // namespace pellora::StoreHardening
