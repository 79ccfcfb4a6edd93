#include "SampleStore/StoreConnection.h"

#include <sqlite3.h>

#include <string>

#include "SampleStore/StoreError.h"

namespace pellora {

namespace {

constexpr int kBusyTimeoutMilliseconds = 10'000;

}  // namespace

StoreConnection::StoreConnection(const std::filesystem::path& file, Mode mode) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (mode == Mode::create ? SQLITE_OPEN_CREATE : 0);
  const int result = sqlite3_open_v2(file.c_str(), &_connection, flags, nullptr);
  if (result != SQLITE_OK) {
    sqlite3_close(_connection);
    throw StoreError("The store " + file.string() + " cannot be opened: " + sqlite3_errstr(result) + ".");
  }
  sqlite3_busy_timeout(_connection, kBusyTimeoutMilliseconds);
}

StoreConnection::~StoreConnection() {
  sqlite3_close(_connection);
}

void StoreConnection::execute(const char* sql) {
  if (sqlite3_exec(_connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    throw StoreError(std::string("The store cannot be written: ") + sqlite3_errmsg(_connection) + ".");
}

std::int64_t StoreConnection::queryInteger(std::string_view sql) {
  StoreStatement statement(_connection, sql);
  return statement.nextRow() ? statement.integer(0) : 0;
}

std::int64_t StoreConnection::lastRowID() const {
  return sqlite3_last_insert_rowid(_connection);
}

void StoreConnection::keepLogOnClose() {
  int persist = 1;
  sqlite3_file_control(_connection, nullptr, SQLITE_FCNTL_PERSIST_WAL, &persist);
  sqlite3_db_config(_connection, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

}  // namespace pellora
