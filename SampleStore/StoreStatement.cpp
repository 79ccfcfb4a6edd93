#include "SampleStore/StoreStatement.h"

#include <sqlite3.h>

#include "SampleStore/StoreError.h"

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

}  // namespace pellora
