#include "SampleStore/StoreConnection.h"

#include <sqlite3.h>

#include <string>

#include "SampleStore/StoreConnection.h"

namespace pellora {

StoreStatement::StoreStatement(sqlite3* connection, std::string_view sql) : _connection(connection) {
  check(sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &_statement, nullptr));
}

StoreStatement::~StoreStatement() {
  sqlite3_finalize(_statement);
}

StoreStatement& StoreStatement::bindNull(int position) {
  check(sqlite3_bind_null(_statement, position));
  return *this;
}

StoreStatement& StoreStatement::bindInteger(int position, std::int64_t value) {
  check(sqlite3_bind_int64(_statement, position, value));
  return *this;
}

StoreStatement& StoreStatement::bindText(int position, std::string_view text) {
  // A null pointer would bind NULL, and an empty view may hold one.
  const char* bytes = text.data() == nullptr ? "" : text.data();
  check(sqlite3_bind_text64(_statement, position, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

StoreStatement& StoreStatement::bindBlob(int position, std::string_view bytes) {
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  check(sqlite3_bind_blob64(_statement, position, data, bytes.size(), SQLITE_STATIC));
  return *this;
}

void StoreStatement::run() {
  while (nextRow()) {
  }
}

bool StoreStatement::nextRow() {
  const int result = sqlite3_step(_statement);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) {
    const std::string message = sqlite3_errmsg(_connection);
    reset();
    throw StoreError("The store cannot be written: " + message + ".");
  }
  reset();
  return false;
}

std::int64_t StoreStatement::integer(int column) const {
  return sqlite3_column_int64(_statement, column);
}

std::string StoreStatement::text(int column) const {
  const unsigned char* bytes = sqlite3_column_text(_statement, column);
  if (bytes == nullptr) return {};
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(_statement, column))};
}

void StoreStatement::check(int result) const {
  if (result != SQLITE_OK)
    throw StoreError(std::string("The store cannot be written: ") + sqlite3_errmsg(_connection) + ".");
}

void StoreStatement::reset() {
  sqlite3_reset(_statement);
  sqlite3_clear_bindings(_statement);
}

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
