#include "Companion/History/HistoryDatabase.h"

#include <sqlite3.h>

#include <memory>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr int kBusyTimeout = 3000;    // milliseconds
constexpr int kPagesAtOnce = 2000;    // of a copy, between two looks at whether to go on
constexpr int kBusyPause = 100;       // milliseconds
constexpr int kMostBusyPauses = 100;  // in a row

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

int primaryCode(int code) {
  return code & 0xFF;
}

[[noreturn]] void fail(sqlite3* database, int code) {
  const char* words = database != nullptr ? sqlite3_errmsg(database) : sqlite3_errstr(code);
  throw HistoryDatabase::Error(code, text::repairedUtf8(words));
}

Statement firstRow(sqlite3* database, const std::string& sql, const std::string& parameter, bool& hasRow) {
  sqlite3_stmt* prepared = nullptr;
  const int code = sqlite3_prepare_v2(database, sql.c_str(), -1, &prepared, nullptr);
  Statement statement(prepared);
  if (code != SQLITE_OK || prepared == nullptr) fail(database, code);
  if (sqlite3_bind_parameter_count(prepared) > 0)
    sqlite3_bind_text(prepared, 1, parameter.data(), static_cast<int>(parameter.size()), SQLITE_TRANSIENT);
  const int step = sqlite3_step(prepared);
  if (step != SQLITE_ROW && step != SQLITE_DONE) fail(database, step);
  hasRow = step == SQLITE_ROW;
  return statement;
}

std::string bytes(sqlite3_stmt* statement) {
  const void* data = sqlite3_column_blob(statement, 0);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, 0));
  return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), size);
}

// A path as the part of a URI that names a file.
std::string uri(const std::filesystem::path& file, const char* options) {
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string text = "file:";
  for (const char c : std::filesystem::absolute(file).string()) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = c == '/' || c == '.' || c == '-' || c == '_' || (c >= '0' && c <= '9') ||
                         (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (isPlain)
      text += c;
    else
      text += {'%', kHex[byte >> 4], kHex[byte & 0x0F]};
  }
  return text + options;
}

}  // namespace

bool HistoryDatabase::Error::isBusy() const {
  return primaryCode(_code) == SQLITE_BUSY || primaryCode(_code) == SQLITE_LOCKED;
}

HistoryDatabase::HistoryDatabase(const std::filesystem::path& file, Mode mode) {
  int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI;
  const char* options = "";
  switch (mode) {
    case Mode::read:
      flags |= SQLITE_OPEN_READONLY;
      break;
    case Mode::write:
      flags |= SQLITE_OPEN_READWRITE;
      break;
    case Mode::create:
      flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
      break;
    case Mode::asItLies:
      flags |= SQLITE_OPEN_READONLY;
      options = "?immutable=1";
      break;
  }
  const int code = sqlite3_open_v2(uri(file, options).c_str(), &_database, flags, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close(_database);
    throw Error(code, sqlite3_errstr(code));
  }
  sqlite3_busy_timeout(_database, kBusyTimeout);
  sqlite3_db_config(_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(_database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(_database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
}

HistoryDatabase::~HistoryDatabase() {
  sqlite3_close(_database);
}

void HistoryDatabase::execute(const std::string& sql) {
  const int code = sqlite3_exec(_database, sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(_database, code);
}

std::int64_t HistoryDatabase::integer(const std::string& sql, const std::string& parameter) {
  bool hasRow = false;
  const Statement statement = firstRow(_database, sql, parameter, hasRow);
  return hasRow ? sqlite3_column_int64(statement.get(), 0) : 0;
}

std::string HistoryDatabase::text(const std::string& sql) {
  bool hasRow = false;
  const Statement statement = firstRow(_database, sql, {}, hasRow);
  return hasRow ? bytes(statement.get()) : std::string();
}

std::optional<std::string> HistoryDatabase::blob(const std::string& sql, const std::string& parameter) {
  bool hasRow = false;
  const Statement statement = firstRow(_database, sql, parameter, hasRow);
  return hasRow ? std::optional(bytes(statement.get())) : std::nullopt;
}

void HistoryDatabase::copyFrom(HistoryDatabase& source, const std::function<bool(int)>& proceed) {
  sqlite3_backup* copy = sqlite3_backup_init(_database, "main", source._database, "main");
  if (copy == nullptr) fail(_database, sqlite3_errcode(_database));
  int code = SQLITE_OK;
  int pauses = 0;
  while (code != SQLITE_DONE) {
    code = sqlite3_backup_step(copy, kPagesAtOnce);
    const bool isBusy = code == SQLITE_BUSY || code == SQLITE_LOCKED;
    if (isBusy && ++pauses < kMostBusyPauses) {
      sqlite3_sleep(kBusyPause);
    } else if (isBusy || (code != SQLITE_OK && code != SQLITE_DONE)) {
      break;
    } else {
      pauses = 0;
    }
    const int pages = sqlite3_backup_pagecount(copy);
    const int left = sqlite3_backup_remaining(copy);
    if (!proceed(pages > 0 ? static_cast<int>(100 * static_cast<std::int64_t>(pages - left) / pages) : 0)) {
      code = SQLITE_INTERRUPT;
      break;
    }
  }
  sqlite3_backup_finish(copy);
  if (code != SQLITE_DONE) throw Error(code, sqlite3_errstr(code));
}

}  // namespace pellora
