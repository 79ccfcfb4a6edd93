// A connection that writes a Messages store, used by one thread. A store locked by another process is waited for
// during ten seconds. Every failure throws StoreError.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "SampleStore/StoreStatement.h"

struct sqlite3;

namespace pellora {

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

  // Leaves the -wal and -shm files beside the store when the connection closes, as they lie beside a store in use.
  void keepLogOnClose();

  sqlite3* handle() const { return _connection; }

 private:
  sqlite3* _connection = nullptr;
};

}  // namespace pellora
