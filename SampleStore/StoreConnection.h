// A Messages store that is being written: the connection to it, its statements and its error, and the tables that a
// recent store has.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace pellora {

// A store could not be created or written. The text is one sentence for a person.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A prepared statement of a StoreConnection, which must outlive it. Parameters are bound by position from 1; texts
// and blobs are borrowed until the statement has run. Every failure throws StoreError.
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

// A connection that writes a Messages store, used by one thread. A store locked by another process is waited for
// during ten seconds. Every failure throws StoreError.
class StoreConnection {
 public:
  enum class Mode { create, existing };

  StoreConnection(const std::filesystem::path& file, Mode mode);
  ~StoreConnection();
  StoreConnection(const StoreConnection&) = delete;
  StoreConnection& operator=(const StoreConnection&) = delete;

  // One or more statements whose rows are not wanted.
  void execute(const char* sql);

  // The first column of the first row; 0 when there is none.
  std::int64_t queryInteger(std::string_view sql);

  // Of the row inserted last.
  std::int64_t lastRowID() const;

  // Leaves the -wal and -shm files next to the store when the connection closes, as they lie next to a store in use.
  void keepLogOnClose();

  sqlite3* handle() const { return _connection; }

 private:
  sqlite3* _connection = nullptr;
};

// The tables, indexes and triggers of a recent Messages store, as SQL scripts. The triggers are those that need
// nothing but SQL, so any process can write to the store. Indexes and triggers come apart from the tables because
// a store of a million messages is filled faster without them.
class MessagesSchema {
 public:
  static const char* tables();
  static const char* indexes();
  static const char* triggers();
};

}  // namespace pellora
