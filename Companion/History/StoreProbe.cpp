#include "Companion/History/StoreProbe.h"

#include <sqlite3.h>

#include <memory>

#include "Companion/Output/ReadingObstacle.h"
#include "PelloraMessagesCore/StoreHardening.h"

namespace pellora {

namespace {

constexpr int kBusyTimeout = 2000;  // milliseconds

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

}  // namespace

StoreProbe StoreProbe::of(const std::filesystem::path& file) {
  StoreProbe probe{file, std::nullopt, {}, false};
  probe.reason = reading_obstacle::find(file);
  if (probe.reason.empty()) probe.reason = StoreHardening::obstacleBeside(file);
  if (!probe.reason.empty()) return probe;
  std::int64_t steps = 0;
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
  if (code != SQLITE_OK) {
    probe.reason = sqlite3_errstr(code);
    return probe;
  }
  sqlite3_busy_timeout(database.get(), kBusyTimeout);
  StoreHardening::harden(database.get(), steps);
  const auto trouble = StoreHardening::tableTrouble(database.get());
  probe.isLocked = !trouble;
  probe.reason = trouble ? *trouble : StoreHardening::errorText(database.get());
  if (!probe.reason.empty()) return probe;
  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database.get(), "SELECT count(*) FROM message", -1, &prepared, nullptr);
  const std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement(prepared);
  if (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
    probe.messages = sqlite3_column_int64(statement.get(), 0);
    return probe;
  }
  probe.isLocked = sqlite3_errcode(database.get()) == SQLITE_BUSY;
  probe.reason = StoreHardening::errorText(database.get());
  return probe;
}

}  // namespace pellora
