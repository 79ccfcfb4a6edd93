// A prepared statement of a StoreConnection, which must outlive it. Parameters are bound by position from 1; texts
// and blobs are borrowed until the statement has run. Every failure throws StoreError.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace pellora {

class StoreStatement {
 public:
  StoreStatement(sqlite3* connection, std::string_view sql);
  ~StoreStatement();
  StoreStatement(const StoreStatement&) = delete;
  StoreStatement& operator=(const StoreStatement&) = delete;

  StoreStatement& bindNull(int position);
  StoreStatement& bindInteger(int position, std::int64_t value);
  StoreStatement& bindText(int position, std::string_view text);
  StoreStatement& bindBlob(int position, std::string_view bytes);

  // Runs to the end, drops all parameters, and is ready to be bound again.
  void run();

  // Steps to the next row; false at the end, where the statement is ready to be bound again.
  bool nextRow();
  std::int64_t integer(int column) const;
  std::string text(int column) const;

 private:
  void check(int result) const;
  void reset();

  sqlite3* _connection;
  sqlite3_stmt* _statement = nullptr;
};

}  // namespace pellora
