// Old files put back in the place of newer ones.
#include <gmock/gmock.h>

#include <filesystem>

#include "Companion/Commands/LatelyCommand.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using testing::HasSubstr;
using testing::Not;

constexpr char kWarning[] = "This record is older than one shown before";
constexpr std::int64_t kDay = 86'400;

class ShownRecords : public testing::Test {
 protected:
  void write(std::int64_t writtenSecondsAgo) {
    MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 7200);
    record.writtenAt = instantAtSeconds(CompanionWorld::kNow - writtenSecondsAgo);
    world.writeLately(record);
  }

  std::string shown() { return LatelyCommand().run(world.context()).output; }

  CompanionWorld world;
};

TEST_F(ShownRecords, AnOlderRecordIsShownWithAWarningUntilANewerOneComes) {
  world.writePeople({CompanionWorld::anna()});
  write(kDay);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning))) << "the same one again";
  write(2 * kDay);
  EXPECT_THAT(shown(), HasSubstr("it was written on 19 Nov, the other on 20 Nov"));
  EXPECT_THAT(shown(), HasSubstr(kWarning)) << "having been shown does not make it new";
  EXPECT_THAT((LatelyCommand{"Anna", false, {}}.run(world.context()).output), HasSubstr(kWarning));
  EXPECT_THAT((LatelyCommand{{}, false, "-"}.run(world.context()).output), HasSubstr(kWarning));
  EXPECT_THAT((LatelyCommand{"Anna", true, {}}.run(world.context()).output),
              HasSubstr("\"olderThanShown\":\"2026-11-20T12:00:00Z\""));
  write(kDay - 1);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, ARecordFromTheFutureDoesNotMakeTheNextOneOld) {
  write(-400 * kDay);
  shown();
  write(0);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, WhatWasShownIsSealedAndItsLossCostsOnlyTheWarning) {
  write(kDay);
  shown();
  const auto file = *world.context().settings / "shown.json";
  EXPECT_TRUE(AtomicFile::read(file)->starts_with("PMX1"));
  AtomicFile::write(file, "damaged");
  write(2 * kDay);
  EXPECT_THAT(shown(), Not(HasSubstr(kWarning)));
}

TEST_F(ShownRecords, AFolderThatCannotBeWrittenKeepsNobodyFromSeeingTheRecords) {
  AtomicFile::write(*world.context().settings, "a file in the folder's place");
  write(kDay);
  EXPECT_THAT(shown(), HasSubstr("concert"));
}

}  // namespace
}  // namespace pellora
