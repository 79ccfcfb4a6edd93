#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

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
