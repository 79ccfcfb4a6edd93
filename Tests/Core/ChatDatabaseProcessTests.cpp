// The reader next to other processes, and over stores that are damaged or out of reach.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <set>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "SampleStore/StoreConnection.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::ForkedProcess;
using support::SmallStore;
using support::TemporaryFolder;

constexpr uid_t kNobodysUser = 65534;
constexpr Instant kSomeDate = instantAtSeconds(1'767'225'600);

template <class Run>
std::string failure(Run run) {
  try {
    run();
  } catch (const ChatDatabase::Failure& failure) {
    return failure.what();
  }
  return "nothing";
}

// Every operation, on any store at all; what one of them throws, or "nothing".
std::string failureOfAny(const std::filesystem::path& file) {
  return failure([&] {
    const ChatDatabase database(file);
    database.maxRowID();
    database.messages(0, 5000);
    database.messages(kSomeDate - std::chrono::hours(1), 50'000);
    database.messages({1, 2}, kSomeDate - std::chrono::hours(1));
    database.chatParticipants();
  });
}

// One end wakes the other.
class Signal {
 public:
  Signal() { EXPECT_EQ(pipe(_ends.data()), 0); }
  ~Signal() {
    close(_ends[0]);
    close(_ends[1]);
  }
  void send() { EXPECT_EQ(write(_ends[1], "x", 1), 1); }
  void wait() {
    char byte = 0;
    EXPECT_EQ(read(_ends[0], &byte, 1), 1);
  }

 private:
  std::array<int, 2> _ends{};
};

std::string contents(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// A store that no process has open, its log folded in. With some pages, so that there is something to cut.
std::filesystem::path closedStore(const std::filesystem::path& file) {
  SmallStore store(file);
  const auto chat = store.addChat({"+15550100123"});
  for (int row = 0; row < 40; ++row)
    store.addArchivedMessage(chat, kSomeDate + std::chrono::seconds(row), row % 2 == 0, std::string(300, 'x'));
  return file;
}

// The same without WAL mode, so that reading it makes no files.
std::filesystem::path rollbackStore(const std::filesystem::path& file) {
  StoreConnection(closedStore(file), StoreConnection::Mode::existing).execute("PRAGMA journal_mode = DELETE");
  return file;
}

// Writes one row after the other, each in a transaction of its own, until it is killed.
int writeWithoutEnd(const std::filesystem::path& file, Signal& started) {
  StoreConnection connection(file, StoreConnection::Mode::existing);
  for (int row = 0;; ++row) {
    connection.execute(
        "BEGIN IMMEDIATE;"
        "INSERT INTO message (guid, date, text) VALUES (hex(randomblob(16)), 788918400000000000, 'more');"
        "INSERT INTO chat_message_join (chat_id, message_id, message_date)"
        " SELECT 1, last_insert_rowid(), 788918400000000000;"
        "COMMIT");
    if (row == 0) started.send();
  }
}

TEST(ChatDatabaseBesideAWriter, EveryReadSeesWholeTransactionsAndNeverFails) {
  const TemporaryFolder folder;
  const auto file = closedStore(folder / "chat.db");
  Signal started;
  const ForkedProcess writer([&] { return writeWithoutEnd(file, started); });
  started.wait();
  std::int64_t before = 0;
  for (int round = 0; round < 30; ++round) {
    const ChatDatabase database(file);
    const std::int64_t highest = database.maxRowID();
    const auto rows = database.messages(0, 50'000);
    // Rows that arrived after the first statement are there as well; none is missing and none comes twice.
    ASSERT_GE(static_cast<std::int64_t>(rows.size()), highest);
    for (std::size_t index = 0; index < rows.size(); ++index)
      ASSERT_EQ(rows[index].rowID, static_cast<std::int64_t>(index) + 1);
    EXPECT_GE(highest, before);
    before = highest;
  }
  EXPECT_GT(before, 40);
}

TEST(ChatDatabaseBesideAWriter, RowsThatArriveDuringAReadComeWithTheNextOne) {
  const TemporaryFolder folder;
  const auto file = closedStore(folder / "chat.db");
  const ChatDatabase database(file);
  const std::int64_t ceiling = database.maxRowID();
  ForkedProcess writer([&] {
    StoreConnection(file, StoreConnection::Mode::existing)
        .execute(
            "INSERT INTO message (guid, date, text) VALUES ('new', 788918400000000000, 'new');"
            "INSERT INTO chat_message_join (chat_id, message_id) VALUES (1, last_insert_rowid())");
    return 0;
  });
  ASSERT_EQ(writer.wait(), 0);
  const auto rows = database.messages(ceiling, 5000);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.front().text, "new");
}

TEST(ChatDatabaseBesideAWriter, AStoreThatStaysLockedFails) {
  const TemporaryFolder folder;
  const auto file = closedStore(folder / "chat.db");
  Signal locked;
  const ForkedProcess owner([&] {
    StoreConnection connection(file, StoreConnection::Mode::existing);
    connection.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
    locked.send();
    pause();
    return 0;
  });
  locked.wait();
  EXPECT_TRUE(ChatDatabase::canRead(file));
  EXPECT_EQ(failure([&] { ChatDatabase(file).maxRowID(); }), "query(\"database is locked\")");
}

TEST(ChatDatabaseBesideAWriter, AStoreThatIsUnlockedIsRead) {
  const TemporaryFolder folder;
  const auto file = rollbackStore(folder / "chat.db");
  Signal locked;
  Signal reading;
  const ForkedProcess owner([&] {
    StoreConnection connection(file, StoreConnection::Mode::existing);
    connection.execute("BEGIN EXCLUSIVE");
    locked.send();
    reading.wait();
    connection.execute("COMMIT");
    pause();
    return 0;
  });
  locked.wait();
  const ChatDatabase database(file);
  reading.send();
  EXPECT_EQ(database.maxRowID(), 40);
}

// The connection opened last, as SQLite tells its extensions of it.
sqlite3* newestConnection = nullptr;

int rememberConnection(sqlite3* connection, char**, const void*) {
  newestConnection = connection;
  return SQLITE_OK;
}

TEST(ChatDatabaseConnection, OnlyReadsServesOneThreadAndWaitsTwoSecondsForALock) {
  const TemporaryFolder folder;
  const auto file = closedStore(folder / "chat.db");
  const auto extension = reinterpret_cast<void (*)()>(rememberConnection);
  sqlite3_auto_extension(extension);
  const ChatDatabase database(file);
  sqlite3_cancel_auto_extension(extension);
  ASSERT_NE(newestConnection, nullptr);
  EXPECT_EQ(sqlite3_db_readonly(newestConnection, "main"), 1);
  EXPECT_EQ(sqlite3_db_mutex(newestConnection), nullptr);
  sqlite3_stmt* statement = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(newestConnection, "PRAGMA busy_timeout", -1, &statement, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(statement, 0), 2000);
  sqlite3_finalize(statement);
}

TEST(ChatDatabaseConnection, ALogWhoseWriterDiedIsReadAndLeftAsItIs) {
  const TemporaryFolder folder;
  SmallStore store(folder / "live.db");
  store.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  store.addMessage(store.addChat({"+15550100123"}), kSomeDate, false, "in the log");
  std::filesystem::copy(folder / "live.db", folder / "chat.db");
  std::filesystem::copy(folder / "live.db-wal", folder / "chat.db-wal");
  const std::string before = contents(folder / "chat.db");
  const std::string log = contents(folder / "chat.db-wal");
  const auto rows = ChatDatabase(folder / "chat.db").messages(0, 5000);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.front().text, "in the log");
  EXPECT_EQ(contents(folder / "chat.db"), before);
  EXPECT_EQ(contents(folder / "chat.db-wal"), log);
}

TEST(ChatDatabaseOverDamage, WhatIsNoDatabaseSaysSo) {
  const TemporaryFolder folder;
  writeFile(folder / "text.db", "Dear diary, " + std::string(5000, '.'));
  EXPECT_EQ(failureOfAny(folder / "text.db"), "query(\"file is not a database\")");
  writeFile(folder / "short.db", "hi");
  EXPECT_EQ(failureOfAny(folder / "short.db"), "query(\"file is not a database\")");
  EXPECT_EQ(contents(folder / "short.db"), "hi");
}

TEST(ChatDatabaseOverDamage, AnEmptyFileHasNoTables) {
  const TemporaryFolder folder;
  writeFile(folder / "chat.db", "");
  EXPECT_EQ(failureOfAny(folder / "chat.db"), "query(\"no such table: chat_handle_join\")");
  EXPECT_EQ(std::filesystem::file_size(folder / "chat.db"), 0u);
}

TEST(ChatDatabaseOverDamage, AFolderInItsPlaceIsAFailure) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder / "chat.db");
  EXPECT_NE(failureOfAny(folder / "chat.db"), "nothing");
}

TEST(ChatDatabaseOverDamage, AStoreCutInTheMiddleOfAPageFailsCleanly) {
  const TemporaryFolder folder;
  const std::string whole = contents(rollbackStore(folder / "chat.db"));
  ASSERT_GT(whole.size(), 20'000u);
  writeFile(folder / "chat.db", whole.substr(0, 3 * 4096 + 1000));
  EXPECT_EQ(failureOfAny(folder / "chat.db"), "query(\"database disk image is malformed\")");
  for (std::size_t length = 1; length < whole.size(); length += 997) {
    writeFile(folder / "chat.db", whole.substr(0, length));
    failureOfAny(folder / "chat.db");
  }
}

// The tables' trees are whole down to the page of the rows, so statements begin well and fail on the way.
TEST(ChatDatabaseOverDamage, ADamagedPageOfRowsIsAFailureAndNoShorterRead) {
  constexpr std::size_t kPage = 4096;
  constexpr char kLeafOfATable = 0x0D;
  const TemporaryFolder folder;
  const std::string whole = contents(rollbackStore(folder / "chat.db"));
  int damagedPages = 0;
  for (std::size_t page = kPage; page < whole.size(); page += kPage) {
    const bool holdsTexts = whole.substr(page, kPage).find(std::string(200, 'x')) != std::string::npos;
    if (whole[page] != kLeafOfATable || !holdsTexts) continue;
    std::string damaged = whole;
    damaged[page] = 0;
    writeFile(folder / "chat.db", damaged);
    const ChatDatabase database(folder / "chat.db");
    EXPECT_EQ(failure([&] { database.messages(0, 5000); }), "query(\"database disk image is malformed\")");
    ++damagedPages;
  }
  EXPECT_GT(damagedPages, 1);
}

TEST(ChatDatabaseOverDamage, FlippedBytesNeverCrashTheReader) {
  const TemporaryFolder folder;
  const std::string whole = contents(rollbackStore(folder / "chat.db"));
  std::mt19937 random(11);
  std::set<std::string> failures;
  int wholeReads = 0;
  for (int round = 0; round < 150; ++round) {
    std::string damaged = whole;
    for (int flip = 0; flip < 20; ++flip) damaged[random() % damaged.size()] = static_cast<char>(random());
    writeFile(folder / "chat.db", damaged);
    const std::string failure = failureOfAny(folder / "chat.db");
    if (failure == "nothing")
      ++wholeReads;
    else
      failures.insert(failure);
    EXPECT_EQ(contents(folder / "chat.db"), damaged);
  }
  // Damage in a text is read as it is; damage in the structure is told, in sentences of the database.
  EXPECT_GT(wholeReads, 10);
  EXPECT_TRUE(failures.contains("query(\"database disk image is malformed\")"));
  for (const std::string& failure : failures) EXPECT_TRUE(failure.starts_with("query(\"")) << failure;
}

TEST(ChatDatabaseOverDamage, ADamagedLogIsLeftOutOrFailsCleanly) {
  const TemporaryFolder folder;
  SmallStore store(folder / "live.db");
  store.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  store.addMessage(store.addChat({"a"}), kSomeDate, true, "in the log");
  const std::string whole = contents(folder / "live.db");
  const std::string log = contents(folder / "live.db-wal");
  for (std::size_t length = 0; length < log.size(); length += 499) {
    writeFile(folder / "chat.db", whole);
    writeFile(folder / "chat.db-wal", log.substr(0, length));
    EXPECT_EQ(failureOfAny(folder / "chat.db"), "nothing") << length;
    std::filesystem::remove(folder / "chat.db-shm");
  }
}

TEST(ChatDatabaseOverDamage, TheStoreItselfIsNeverWritten) {
  const TemporaryFolder folder;
  const auto file = closedStore(folder / "chat.db");
  const std::string before = contents(file);
  const auto time = std::filesystem::last_write_time(file);
  EXPECT_EQ(failureOfAny(file), "nothing");
  EXPECT_EQ(contents(file), before);
  EXPECT_TRUE(std::filesystem::last_write_time(file) == time);
}

// Runs as a user who owns nothing here: for root no folder is out of reach.
class ChatDatabaseOutOfReach : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "changing the user takes root";
    allow(_folder.path(), 0711);
    std::filesystem::create_directory(_inner);
  }

  static void allow(const std::filesystem::path& path, mode_t mode) { ASSERT_EQ(chmod(path.c_str(), mode), 0); }

  // The failure that nobody meets, told over a pipe.
  static std::string failureAsNobody(const std::function<std::string()>& run) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    ForkedProcess process([&] {
      if (setgid(kNobodysUser) != 0 || setuid(kNobodysUser) != 0) return 2;
      const std::string text = run();
      return write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 3;
    });
    EXPECT_EQ(process.wait(), 0);
    close(ends[1]);
    std::array<char, 500> buffer{};
    const ssize_t length = read(ends[0], buffer.data(), buffer.size());
    close(ends[0]);
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
  }

  TemporaryFolder _folder;
  std::filesystem::path _inner = _folder / "Messages";
  std::filesystem::path _file = _inner / "chat.db";
};

TEST_F(ChatDatabaseOutOfReach, AStoreWithoutPermissionCannotBeOpened) {
  closedStore(_file);
  allow(_inner, 0755);
  allow(_file, 0600);
  EXPECT_EQ(failureAsNobody([&] { return ChatDatabase::canRead(_file) ? "readable" : "unreadable"; }), "unreadable");
  EXPECT_EQ(failureAsNobody([&] { return failureOfAny(_file); }), "cannotOpen(code: 14)");
}

TEST_F(ChatDatabaseOutOfReach, AFolderWithoutPermissionHidesItsStore) {
  closedStore(_file);
  allow(_file, 0644);
  allow(_inner, 0700);
  EXPECT_EQ(failureAsNobody([&] { return ChatDatabase::canRead(_file) ? "readable" : "unreadable"; }), "unreadable");
  EXPECT_EQ(failureAsNobody([&] { return failureOfAny(_file); }), "cannotOpen(code: 14)");
}

TEST_F(ChatDatabaseOutOfReach, AStoreWithoutItsLogInAFolderThatCannotBeWrittenFailsAtTheFirstQuery) {
  closedStore(_file);
  ASSERT_FALSE(std::filesystem::exists(_file.native() + "-wal"));
  allow(_file, 0644);
  allow(_inner, 0555);
  EXPECT_EQ(failureAsNobody([&] { return ChatDatabase::canRead(_file) ? "readable" : "unreadable"; }), "readable");
  EXPECT_EQ(failureAsNobody([&] { return failure([&] { const ChatDatabase database(_file); }); }), "nothing");
  EXPECT_THAT(
      failureAsNobody([&] { return failureOfAny(_file); }),
      ::testing::AnyOf("query(\"attempt to write a readonly database\")", "query(\"unable to open database file\")"));
}

TEST_F(ChatDatabaseOutOfReach, AStoreInUseIsReadFromAFolderThatCannotBeWritten) {
  SmallStore store(_file);
  store.addMessage(store.addChat({"a"}), kSomeDate, true, "hello");
  for (const char* suffix : {"", "-wal", "-shm"}) allow(_file.native() + suffix, 0644);
  allow(_inner, 0555);
  EXPECT_EQ(failureAsNobody([&] { return failureOfAny(_file); }), "nothing");
}

}  // namespace
}  // namespace pellora
