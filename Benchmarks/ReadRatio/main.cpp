// The cost of a read compared with a bare SQLite loop over the same statements, CPU time in the same run. Prints the
// figures and fails when they are over their bars: a full read at most as much as the bare loop, a read with
// nothing new at most 8 ms. The best of several rounds counts for both sides.
//
//   pellora_read_ratio STORE PEOPLE [ROUNDS]     STORE and PEOPLE as pellora-sample-store writes them
#include <sqlite3.h>
#include <time.h>

#include <QCoreApplication>
#include <QCoroTask>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Adapters/InMemory/InMemoryDesktop.h"
#include "Adapters/InMemory/InMemoryEvents.h"
#include "Adapters/InMemory/InMemoryStorage.h"
#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "Adapters/InMemory/VirtualScheduler.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"

namespace {

using namespace pellora;

constexpr double kFullReadBar = 1.0;  // times the bare loop
constexpr double kNothingNewBar = 8;  // milliseconds

constexpr char kWindowQuery[] =
    "SELECT m.ROWID, m.date, m.is_from_me, m.text, m.attributedBody, cmj.chat_id\n"
    "FROM message m JOIN chat_message_join cmj ON cmj.message_id = m.ROWID\n"
    "WHERE m.date >= ? AND IFNULL(m.associated_message_type, 0) = 0 AND IFNULL(m.item_type, 0) = 0\n"
    "ORDER BY m.date LIMIT 50000";

double cpuMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// In memory where that is possible: what a disk's file system costs to sync is not ours to measure.
std::filesystem::path scratchFolder() {
  std::error_code error;
  const std::filesystem::path memory = "/dev/shm";
  const auto base = std::filesystem::is_directory(memory, error) ? memory : std::filesystem::temp_directory_path();
  return base / ("pellora-read-ratio-" + std::to_string(getpid()));
}

// Steps a statement to its end, looking at every column as any reader must.
std::int64_t stepAll(sqlite3* database, const char* sql, std::int64_t parameter) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
  sqlite3_bind_int64(statement, 1, parameter);
  std::int64_t rows = 0;
  std::int64_t sum = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    ++rows;
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
      if (sqlite3_column_type(statement, column) == SQLITE_INTEGER)
        sum += sqlite3_column_int64(statement, column);
      else if (const void* bytes = sqlite3_column_blob(statement, column))
        sum += *static_cast<const unsigned char*>(bytes) + sqlite3_column_bytes(statement, column);
    }
  }
  sqlite3_finalize(statement);
  volatile std::int64_t keep = sum;
  static_cast<void>(keep);
  return rows;
}

double bareLoop(const char* store, std::int64_t since, std::int64_t& rows) {
  const double begin = cpuMilliseconds();
  sqlite3* database = nullptr;
  if (sqlite3_open_v2(store, &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) std::abort();
  stepAll(database, "SELECT chj.chat_id, h.id FROM chat_handle_join chj JOIN handle h ON h.ROWID = chj.handle_id", 0);
  stepAll(database, "SELECT IFNULL(MAX(ROWID), 0) FROM message", 0);
  rows = stepAll(database, kWindowQuery, since);
  sqlite3_close(database);
  return cpuMilliseconds() - begin;
}

std::vector<HelperPerson> people(const char* file) {
  std::vector<HelperPerson> result;
  for (const auto& entry : nlohmann::json::parse(std::ifstream(file))) {
    HelperPerson person{Uuid::random(), entry.value("firstName", std::string()), {}, {}};
    for (const auto& phone : entry["phones"]) person.phones.push_back(ContactNormalization::phone(std::string(phone)));
    for (const auto& email : entry["emails"]) person.emails.push_back(ContactNormalization::email(std::string(email)));
    result.push_back(std::move(person));
  }
  return result;
}

std::string noModel(const ScriptedLanguageModel::Asked&) {
  throw LanguageModelError(LanguageModelError::Reason::server, "is absent");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "Usage: pellora_read_ratio STORE PEOPLE [ROUNDS]\n");
    return 2;
  }
  const QCoreApplication application(argc, argv);
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 10;
  const std::filesystem::path folder = scratchFolder();
  VirtualScheduler scheduler(std::chrono::time_point_cast<Nanoseconds>(std::chrono::system_clock::now()));
  InMemorySecretStore secrets;
  const FixedGroupContainer container(folder);
  InMemoryNotificationCenter notifications;
  InMemoryFileEvents fileEvents;
  InMemoryLoginItem loginItem;
  InMemoryReadLock readLock;
  ScriptedLanguageModel model(noModel);
  model.setAvailable(false);
  const ExchangeKey key = *ExchangeKeychain::loadOrCreate(secrets);
  HelperPeopleFile{scheduler.now(), people(argv[2])}.write(key, folder);

  const std::int64_t since = ChatDatabase::appleTime(scheduler.now() - ReadContext::kReadWindow);
  std::int64_t rows = 0;
  double bare = 1e9;
  double full = 1e9;
  double nothingNew = 1e9;
  std::int64_t written = 0;
  bool isFine = true;
  for (int round = 0; round < rounds; ++round) {
    bare = std::min(bare, bareLoop(argv[1], since, rows));
    std::filesystem::remove_all(folder / "Helper");
    InMemoryUserDefaults defaults;
    HelperEngine engine({scheduler, defaults, secrets, container, notifications, fileEvents, loginItem, model, readLock,
                         argv[1], [] { return LocalCalendar::current(); }, "1.0.0"});
    double begin = cpuMilliseconds();
    QCoro::waitFor(engine.readNow());
    full = std::min(full, cpuMilliseconds() - begin);
    written = engine.peopleWritten();
    begin = cpuMilliseconds();
    QCoro::waitFor(engine.readNow());
    nothingNew = std::min(nothingNew, cpuMilliseconds() - begin);
    isFine = isFine && engine.state().kind == HelperEngineState::Kind::idle;
  }
  std::filesystem::remove_all(folder);
  std::printf("window rows             %lld\n", static_cast<long long>(rows));
  std::printf("people with records     %lld\n", static_cast<long long>(written));
  std::printf("bare loop               %.1f ms CPU\n", bare);
  std::printf("full read               %.1f ms CPU, %.2f times the bare loop (bar %.1f)\n", full, full / bare,
              kFullReadBar);
  std::printf("read with nothing new   %.1f ms CPU (bar %.0f)\n", nothingNew, kNothingNewBar);
  if (!isFine) std::printf("a read failed\n");
  return isFine && full / bare <= kFullReadBar && nothingNew <= kNothingNewBar ? 0 : 1;
}
