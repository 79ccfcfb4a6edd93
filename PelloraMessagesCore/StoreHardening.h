// Reading a Messages store that may be hostile or broken, with bounded time and memory: files next to it that are no
// files are never opened, its schema is not trusted, its tables must be what they seem, and a read that runs for
// ever ends. For every connection to the store.
// Tested by Tests/Core/StoreHardeningTests.cpp and Tests/Attacks/HostileStoreTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

struct sqlite3;

namespace pellora {

namespace StoreHardening {

// A text or body longer than this is an error of its query; real ones have a few hundred kilobytes at most.
inline constexpr int kMaximumLength = 64 << 20;  // bytes
// Steps of SQLite's machine for one connection. A read of a store with five million messages takes a tenth.
inline constexpr std::int64_t kMaximumSteps = 5'000'000'000;

// Why nothing of the store can be opened, as a clause: its log, the log's index or its journal is a pipe, a device, a
// folder or a link to elsewhere, or its log is damaged and can't be passed over. Empty when all is well. Links
// in the path of the store itself are followed.
std::string obstacleBeside(const std::filesystem::path& store);

// SQLite passes over a log that holds nothing for it only if it may write an index of the log; else it waits for half a
// minute and blames the locks. Makes the index if it is missing, as SQLite would. False when the log is such a one and
// the index cannot be written. `store` is the real file, not a link.
bool makeIndexOfVoidLog(const std::filesystem::path& store);

// For how long a connection may read: some steps, and until nobody wants the result any more.
struct Patience {
  std::int64_t steps = kMaximumSteps;
  std::stop_token stop{};
};

// For a fresh connection, before its first statement. `patience` is counted down and must outlive the connection;
// reading ends with SQLITE_INTERRUPT when it is over.
void harden(sqlite3* connection, Patience& patience);

// Explains, as a clause, why a table that we query is not an ordinary one: it is a view or a virtual table, or has
// computed columns. Empty when all are ordinary or missing, or when the schema can't be read; the query then reports
// that. Absent while another program keeps the store locked, because nothing is known then.
std::optional<std::string> tableTrouble(sqlite3* connection);

// The connection's last error as SQLite words it, or in plainer words where SQLite's say too little.
std::string errorText(sqlite3* connection);

}  // namespace StoreHardening

}  // namespace pellora
