#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>

#include "Companion/History/StoreProbe.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

TEST(StoreProbe, CountsTheMessagesAlsoThroughALink) {
  const support::TemporaryFolder folder;
  support::SmallStore store(folder / "chat.db");
  store.addMessage(store.addChat({"a"}), instantAtSeconds(1'767'225'600), true, "hello");
  std::filesystem::create_symlink("chat.db", folder / "link.db");
  for (const char* name : {"chat.db", "link.db"}) EXPECT_EQ(StoreProbe::of(folder / name).messages, 1) << name;
}

TEST(StoreProbe, SaysWhyThereIsNothingToCount) {
  const support::TemporaryFolder folder;
  EXPECT_EQ(StoreProbe::of(folder / "chat.db").reason, "not there");
  std::ofstream(folder / "text.db") << std::string(5000, 'x');
  EXPECT_EQ(StoreProbe::of(folder / "text.db").reason, "file is not a database");
}

// Every problem has a sentence and a next step of its own.
class StoreProblems : public testing::Test {
 protected:
  StoreProbe::Kind kindOf(const std::string& name) {
    const StoreProbe probe = StoreProbe::of(_folder / name);
    EXPECT_EQ(probe.messages.has_value(), probe.isReadable());
    if (!probe.isReadable()) {
      EXPECT_TRUE(_sentences.insert(probe.sentence()).second) << probe.sentence();
      EXPECT_TRUE(_steps.insert(probe.nextStep()).second) << probe.nextStep();
      EXPECT_FALSE(probe.reason.empty());
    }
    return probe.kind;
  }

  std::filesystem::path makeStore(const std::string& name, int messages, bool keepsLog = false) {
    support::SmallStore store(_folder / name);
    const auto chat = store.addChat({"+15551234567"});
    for (int message = 0; message < messages; ++message)
      store.addMessage(chat, instantAtSeconds(1'767'225'600 + message), true, std::string(300, 'a'));
    store.execute("PRAGMA wal_checkpoint(TRUNCATE)");
    for (int message = 0; message < messages; ++message)
      store.addMessage(chat, instantAtSeconds(1'767'325'600 + message), true, std::string(300, 'b'));
    if (keepsLog) store.connection().keepLogOnClose();
    return store.path();
  }

  support::TemporaryFolder _folder;
  std::set<std::string> _sentences;
  std::set<std::string> _steps;
};

TEST_F(StoreProblems, AreToldApartEachWithItsOwnNextStep) {
  using Kind = StoreProbe::Kind;
  EXPECT_EQ(kindOf("missing.db"), Kind::missing);
  std::filesystem::create_directory(_folder / "folder.db");
  EXPECT_EQ(kindOf("folder.db"), Kind::notAFile);
  std::ofstream(_folder / "empty.db");
  EXPECT_EQ(kindOf("empty.db"), Kind::empty);
  std::ofstream(_folder / "text.db") << std::string(5000, 'x');
  EXPECT_EQ(kindOf("text.db"), Kind::notADatabase);
  {
    StoreConnection other(_folder / "other.db", StoreConnection::Mode::create);
    other.execute("CREATE TABLE t (x)");
  }
  EXPECT_EQ(kindOf("other.db"), Kind::notMessages);
  const std::string whole = support::contentOf(makeStore("whole.db", 300));
  EXPECT_EQ(kindOf("whole.db"), Kind::readable);
  std::ofstream(_folder / "cut.db", std::ios::binary) << whole.substr(0, whole.size() / 2);
  EXPECT_EQ(kindOf("cut.db"), Kind::truncated);
  std::string torn = whole;
  for (std::size_t at = 4096; at + 4096 <= torn.size(); at += 4096) torn.replace(at, 4096, std::string(4096, '\x5A'));
  std::ofstream(_folder / "torn.db", std::ios::binary) << torn;
  EXPECT_EQ(kindOf("torn.db"), Kind::damaged);
}

TEST_F(StoreProblems, ALogOfAnotherDatabaseIsTold) {
  makeStore("own.db", 5);
  {
    StoreConnection other(_folder / "other.db", StoreConnection::Mode::create);
    other.execute("PRAGMA journal_mode = WAL; CREATE TABLE t (x); INSERT INTO t VALUES (randomblob(9000))");
    other.keepLogOnClose();
  }
  std::filesystem::copy_file(_folder / "other.db-wal", _folder / "own.db-wal");
  EXPECT_EQ(kindOf("own.db"), StoreProbe::Kind::foreignLog);
}

TEST_F(StoreProblems, AFolderThatCannotBeWrittenAndOneThatCannotBeRead) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  makeStore("disk/chat.db", 5);
  std::filesystem::permissions(_folder / "disk",
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  EXPECT_EQ(kindOf("disk/chat.db"), StoreProbe::Kind::readOnly);
  std::filesystem::permissions(_folder / "disk", std::filesystem::perms::none);
  EXPECT_EQ(kindOf("disk/chat.db"), StoreProbe::Kind::noPermission);
  std::filesystem::permissions(_folder / "disk", std::filesystem::perms::owner_all);
}

TEST_F(StoreProblems, AMissingLogIsSeenOnACopyAlone) {
  const auto store = makeStore("store.db", 5, true);
  std::filesystem::copy_file(store, _folder / "copy.db");
  EXPECT_FALSE(StoreProbe::of(store).lacksLog);
  EXPECT_EQ(StoreProbe::of(store).messages, 10);
  EXPECT_TRUE(StoreProbe::of(_folder / "copy.db").lacksLog);
  EXPECT_EQ(StoreProbe::of(_folder / "copy.db").messages, 5);
}

TEST(StoreProbe, DoesNotWaitForWhatIsNoRegularFile) {
  const support::TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "chat.db").c_str(), 0600), 0);
  for (const std::filesystem::path& file : {folder / "chat.db", folder.path(), std::filesystem::path("/dev/zero")}) {
    const StoreProbe probe = StoreProbe::of(file);
    EXPECT_FALSE(probe.messages.has_value());
    EXPECT_EQ(probe.reason, "not a regular file") << file;
  }
}

TEST(StoreProbe, TellsAStoreThatAnotherProgramHolds) {
  const support::TemporaryFolder folder;
  support::SmallStore store(folder / "chat.db");
  EXPECT_FALSE(StoreProbe::of(store.path()).isLocked);
  // The connection's own log must be let go of before it can be held alone.
  store.execute("PRAGMA journal_mode = DELETE; PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
  const StoreProbe probe = StoreProbe::of(store.path());
  EXPECT_FALSE(probe.messages.has_value());
  EXPECT_TRUE(probe.isLocked);
  EXPECT_EQ(probe.reason, "database is locked");
}

}  // namespace
}  // namespace pellora
