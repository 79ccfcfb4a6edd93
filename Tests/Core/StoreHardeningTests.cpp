// Stores that are hostile or broken, as real files.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/StoreHardening.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

class StoreHardeningTest : public testing::Test {
 protected:
  void SetUp() override {
    _store = std::make_unique<support::SmallStore>(_file);
    _store->addMessage(_store->addChat({"+15550100123"}), instantAtSeconds(1'773'000'000), false, "hello");
  }

  // The failure of a whole read; empty when it succeeded.
  std::string failure() const {
    try {
      const ChatDatabase database(_file);
      database.maxRowID();
      database.messages(std::int64_t{0}, 100);
      database.chatParticipants();
    } catch (const ChatDatabase::Failure& failure) {
      return failure.what();
    }
    return {};
  }

  void execute(const std::string& sql) {
    _store->execute("PRAGMA foreign_keys = OFF");
    _store->execute(sql);
  }
  void closeStore() { _store.reset(); }
  fs::path beside(const std::string& suffix) const { return _file.string() + suffix; }

  support::TemporaryFolder _folder;
  fs::path _file = _folder / "Messages/chat.db";
  std::unique_ptr<support::SmallStore> _store;
};

TEST_F(StoreHardeningTest, AnOrdinaryStoreIsRead) {
  EXPECT_EQ(failure(), "");
}

TEST_F(StoreHardeningTest, AViewInTheTablesPlaceIsRefused) {
  for (const char* table : {"message", "chat_message_join", "chat_handle_join", "handle"}) {
    const std::string name = table;
    execute("ALTER TABLE " + name + " RENAME TO kept");
    execute("CREATE VIEW " + name +
            " AS WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT * FROM c");
    EXPECT_EQ(failure(), "query(\"" + name + " is not an ordinary table\")");
    execute("DROP VIEW " + name);
    execute("ALTER TABLE kept RENAME TO " + name);
  }
  EXPECT_EQ(failure(), "");
}

TEST_F(StoreHardeningTest, AVirtualTableInTheTablesPlaceIsRefused) {
  execute("ALTER TABLE handle RENAME TO kept; CREATE VIRTUAL TABLE Handle USING rtree(id, low, high)");
  EXPECT_EQ(failure(), "query(\"Handle is not an ordinary table\")");
}

TEST_F(StoreHardeningTest, AComputedColumnIsRefused) {
  execute("ALTER TABLE message ADD COLUMN body TEXT AS (printf('%.*c', 800000000, 'x'))");
  EXPECT_EQ(failure(), "query(\"message is not an ordinary table: it computes columns\")");
}

TEST_F(StoreHardeningTest, IndexesAndTriggersWithTheTablesNamesAreNoObstacle) {
  execute("CREATE TRIGGER more AFTER INSERT ON message BEGIN SELECT 1; END");
  execute("CREATE INDEX message_by_text ON message(text)");
  EXPECT_EQ(failure(), "");
}

TEST_F(StoreHardeningTest, ATextBeyondTheLimitIsAnErrorAndOneBelowIsRead) {
  execute("UPDATE message SET text = printf('%.*c', " + std::to_string(StoreHardening::kMaximumLength - 10'000) +
          ", 'x')");
  EXPECT_EQ(failure(), "");
  execute("UPDATE message SET text = printf('%.*c', " + std::to_string(StoreHardening::kMaximumLength + 1) + ", 'x')");
  EXPECT_EQ(failure(), "query(\"string or blob too big\")");
}

TEST_F(StoreHardeningTest, AReadThatTakesTooManyStepsEnds) {
  sqlite3* connection = nullptr;
  ASSERT_EQ(sqlite3_open_v2(_file.c_str(), &connection, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  constexpr char kEndless[] = "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT max(x) FROM c";
  StoreHardening::Patience patience;
  StoreHardening::harden(connection, patience);
  EXPECT_EQ(patience.steps, StoreHardening::kMaximumSteps);
  patience.steps = 1'000'000;
  EXPECT_EQ(sqlite3_exec(connection, kEndless, nullptr, nullptr, nullptr), SQLITE_INTERRUPT);
  EXPECT_EQ(StoreHardening::errorText(connection), "reading takes more steps than the largest store needs");
  std::stop_source source;
  patience = {StoreHardening::kMaximumSteps, source.get_token()};
  source.request_stop();
  EXPECT_EQ(sqlite3_exec(connection, kEndless, nullptr, nullptr, nullptr), SQLITE_INTERRUPT);
  EXPECT_GT(patience.steps, StoreHardening::kMaximumSteps / 2);
  sqlite3_close(connection);
}

TEST_F(StoreHardeningTest, WhatIsNoFileBesideTheStoreIsNeverOpened) {
  closeStore();
  for (const std::string suffix : {"-wal", "-shm", "-journal"}) {
    const fs::path path = beside(suffix);
    const std::string expected =
        "query(\"chat.db" + suffix + " beside the database is not a file, so nothing is opened\")";
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(failure(), expected) << "a pipe";
    fs::remove(path);
    std::ofstream(_folder / "elsewhere") << "somebody else's";
    fs::create_symlink(_folder / "elsewhere", path);
    EXPECT_EQ(failure(), expected) << "a link";
    fs::remove(path);
    fs::create_symlink("/dev/zero", path);
    EXPECT_EQ(failure(), expected) << "a link to a device";
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_EQ(failure(), expected) << "a folder";
    fs::remove(path);
  }
  EXPECT_EQ(failure(), "");
}

TEST_F(StoreHardeningTest, TheLogOfAStoreBehindALinkIsLookedAtToo) {
  closeStore();
  fs::create_symlink(_file, _folder / "link.db");
  fs::remove(beside("-wal"));
  ASSERT_EQ(mkfifo(beside("-wal").c_str(), 0600), 0);
  EXPECT_NE(StoreHardening::obstacleBeside(_folder / "link.db"), "");
}

TEST_F(StoreHardeningTest, ALogWithABrokenHeadAndNoIndexIsReadAsSqliteReadsIt) {
  closeStore();
  fs::remove(beside("-shm"));
  std::ofstream(beside("-wal"), std::ios::binary) << std::string(8192, 'x');
  EXPECT_EQ(failure(), "");
}

TEST_F(StoreHardeningTest, AnIndexIsMadeForALogThatHoldsNothingAndForNoOther) {
  closeStore();
  // The head of a log of pages of 4096 bytes: magic number, version, page size, count, two salts and the checksums.
  const std::string beginning("\x37\x7f\x06\x82\0\x2d\xe2\x18\0\0\x10\0\0\0\0\0\1\2\3\4\5\6\7\x08", 24);
  const std::string head = beginning + "\xd8\xea\x05\x14\x98\xd8\xe2\xbe";
  std::string oddPages = beginning + std::string("\xd8\xe0\x05\x14\x98\xc9\xe2\xbe");
  oddPages[10] = '\x0b';
  const std::string frames(5000, 'f');
  const struct {
    std::string log;
    bool isVoid;
  } cases[] = {{"", false},
               {head.substr(0, 31), false},
               {head, true},
               {head + frames, false},
               {oddPages + frames, true},
               {std::string(5032, '\0'), true}};
  for (const auto& each : cases) {
    fs::remove(beside("-shm"));
    std::ofstream(beside("-wal"), std::ios::binary) << each.log;
    EXPECT_TRUE(StoreHardening::makeIndexOfVoidLog(_file));
    EXPECT_EQ(fs::exists(beside("-shm")), each.isVoid) << each.log.size();
    EXPECT_EQ(failure(), "") << each.log.size();
  }
}

TEST_F(StoreHardeningTest, ALogWithABrokenHeadThatCannotBePassedOverIsSaidToBeDamaged) {
  closeStore();
  fs::remove(beside("-shm"));
  std::ofstream(beside("-wal"), std::ios::binary) << std::string(8192, 'x');
  fs::create_directory(beside("-shm"));  // where no index can be written, whoever tries
  EXPECT_NE(StoreHardening::obstacleBeside(_file), "");
  fs::remove(beside("-shm"));
  if (geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  fs::permissions(_file.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
  const std::string obstacle = StoreHardening::obstacleBeside(_file);
  fs::permissions(_file.parent_path(), fs::perms::owner_all);
  EXPECT_EQ(obstacle, "the log chat.db-wal is damaged");
}

}  // namespace
}  // namespace pellora
