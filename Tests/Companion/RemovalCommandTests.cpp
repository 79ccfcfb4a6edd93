// `delete` and `sweep`: what goes, what stays, and what they say.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "Companion/Commands/Commands.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Output/CompanionFailure.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using support::failureOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Secrets = InMemorySecretStore::State;

TEST(DeleteCommand, RemovesTheRecordOfOnePersonOnly) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 7200));
  DeleteCommand{"anna", false}.run(world.context());
  EXPECT_FALSE(std::filesystem::exists(LatelyStore::file(world.shared(), CompanionWorld::anna().id)));
  EXPECT_THAT(failureOf(DeleteCommand{"anna", false}, world.context()), HasSubstr("no lately record of Anna"));
  world.secrets().setState(Secrets::locked);
  EXPECT_EQ(DeleteCommand({CompanionWorld::bob().id.toString(), true}).run(world.context()).output,
            "{\"deleted\":\"" + CompanionWorld::bob().id.toString() + "\"}\n");
}

TEST(SweepCommand, SaysHowManyFilesWentAndKeepsTheRest) {
  CompanionWorld world;
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  AtomicFile::write(world.shared() / "Lately/anything.json", "x");
  AtomicFile::write(world.shared() / "Lately/notes.txt", "x");
  EXPECT_EQ(SweepCommand().run(world.context()).output, "Removed 1 file; kept 1 lately record.\n");
  EXPECT_EQ(SweepCommand{true}.run(world.context()).output, "{\"kept\":1,\"removed\":0}\n");
  EXPECT_TRUE(std::filesystem::exists(world.shared() / "Lately/notes.txt"));
}

TEST(SweepCommand, WithoutAKeyNothingIsRemoved) {
  CompanionWorld world;
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.secrets().setState(Secrets::locked);
  EXPECT_THROW(SweepCommand().run(world.context()), CompanionFailure);
  EXPECT_TRUE(std::filesystem::exists(LatelyStore::file(world.shared(), CompanionWorld::anna().id)));
}

TEST(SweepCommand, AFolderIsNoRecordFile) {
  CompanionWorld world;
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  std::filesystem::create_directories(world.shared() / "Lately/dir.json/inside");
  EXPECT_THAT(LatelyCommand().run(world.context()).output, Not(HasSubstr("cannot be read")));
  const CommandResult result = SweepCommand().run(world.context());
  EXPECT_EQ(result.output, "Removed 0 files; kept 1 lately record.\n");
  EXPECT_THAT(result.complaint, IsEmpty());
  EXPECT_TRUE(std::filesystem::exists(world.shared() / "Lately/dir.json/inside"));
}

TEST(SweepCommand, RecordsOfPeopleWhoLeftTheFileGo) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 7200));
  EXPECT_EQ(SweepCommand().run(world.context()).output,
            "Removed 1 file, 1 of people who are no longer in the people file; kept 1 lately record.\n");
  EXPECT_TRUE(std::filesystem::exists(LatelyStore::file(world.shared(), CompanionWorld::anna().id)));
  world.writePeople({});
  EXPECT_THAT(SweepCommand().run(world.context()).output, HasSubstr("kept 0 lately records."));
}

TEST(SweepCommand, WithoutAPeopleFileThatOpensNobodyHasLeftIt) {
  CompanionWorld world;
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  EXPECT_EQ(SweepCommand().run(world.context()).output, "Removed 0 files; kept 1 lately record.\n");
  AtomicFile::write(world.shared() / "people.json", "PMX1 damaged");
  EXPECT_EQ(SweepCommand().run(world.context()).output, "Removed 0 files; kept 1 lately record.\n");
}

TEST(SweepCommand, ARecordThatCannotBeReadStaysAndIsNamed) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  CompanionWorld world;
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  const auto file = LatelyStore::file(world.shared(), CompanionWorld::anna().id);
  ASSERT_EQ(::chmod(file.c_str(), 0), 0);
  const CommandResult result = SweepCommand().run(world.context());
  EXPECT_EQ(result.complaint,
            "1 file among the records cannot be read and stays: " + file.filename().string() + " (Permission denied).");
  EXPECT_TRUE(std::filesystem::exists(file));
}

}  // namespace
}  // namespace pellora
