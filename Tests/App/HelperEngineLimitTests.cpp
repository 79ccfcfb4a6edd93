// Where a read begins and ends: the window and its limits, the moment it counts from, what it does when something
// around it fails, and other processes that read. ReadHistoryTests.cpp has stores of more rows than one portion.
#include <gtest/gtest.h>

#include <fstream>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "Tests/Support/EngineWorld.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::EngineWorld;
using Kind = HelperEngineState::Kind;

std::string harbour(const ScriptedLanguageModel::Asked& asked) {
  if (asked.schemaName == "FoundMeetups") return R"({"meetups":[]})";
  if (asked.schemaName == "FoundNews") return R"({"news":[]})";
  return "You and Anna talked about the harbour.";
}

TEST(HelperEngineLimit, NewRowsAreReadInPortionsOfFiveThousand) {
  EXPECT_EQ(StoreReading::kIncrementalLimit, 5'000);
}

TEST(HelperEngineLimit, ALateRowRebuildsItsWholeDay) {
  EngineWorld world;
  for (const auto ago : {73h, 75h, 77h}) world.fromAnna(ago, "early");
  world.read();
  world.fromAnna(74h, "late");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 4);
}

TEST(HelperEngineLimit, ALateRowOfTheWindowsFirstDayRebuildsThatDayWhole) {
  EngineWorld world;
  const auto month = 24h * 30;  // the window begins at noon
  world.fromAnna(month + 4h, "that morning");
  world.fromAnna(month - 2h, "that afternoon");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 1);
  world.fromAnna(month - 3h, "late");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 3);
}

TEST(HelperEngineLimit, ARowWithADateAheadRebuildsTodayWhole) {
  EngineWorld world;
  world.fromAnna(2h, "this morning");
  world.fromAnna(-1h, "from a clock that is ahead");
  world.read();
  world.fromAnna(-20h, "from one that is a day ahead");
  world.read();
  const HelperDayNotes notes = world.notes();
  ASSERT_EQ(notes.days.size(), 2U);
  EXPECT_EQ(notes.days[0].receivedCount, 2);
  EXPECT_EQ(notes.days[1].receivedCount, 1);
}

TEST(HelperEngineLimit, AFullReadForgetsADayWhoseMessagesAreGone) {
  EngineWorld world;
  const std::int64_t row = world.fromAnna(50h, "to be deleted");
  world.fromAnna(1h, "to stay");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 2U);
  world.store->execute("DELETE FROM chat_message_join WHERE message_id = " + std::to_string(row));
  world.store->execute("DELETE FROM message WHERE ROWID = " + std::to_string(row));
  world.read();
  EXPECT_EQ(world.notes().days.size(), 2U) << "an incremental read looks at new rows only";
  world.defaults.store({{"messages.lastRowID", std::int64_t{0}}});
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].lastMessageAt, EngineWorld::kStart - 1h);
}

// In the small hours of a day in summer, 30 days after a day in winter that ends in between.
TEST(HelperEngineLimit, AnIncrementalReadForgetsADayThatLeavesTheWindow) {
  EngineWorld world;
  world.zone = "Europe/Berlin";
  world.scheduler.advance(30 * 24h + 10h + 30min);  // 10 April, 00:30
  world.fromAnna(-(10h + 45min), "10 March, 23:45");
  world.store->addMessage(world.benChat, world.scheduler.now() - 10min, false, "just now");
  world.read();
  EXPECT_EQ(world.notes().days.size(), 2U);
  world.store->execute("UPDATE message SET is_from_me = 1");  // what only a full read would see
  world.scheduler.advance(1h);
  world.read();
  const HelperDayNotes notes = world.notes();
  ASSERT_EQ(notes.days.size(), 1U);
  EXPECT_EQ(notes.days[0].personID, world.ben.id);
  EXPECT_EQ(notes.days[0].receivedCount, 1);
}

TEST(HelperEngineLimit, TheWindowIsThirtyTimes86400SecondsWhereClocksChangeToo) {
  EngineWorld world;
  world.zone = "Europe/Berlin";
  world.scheduler.advance(31 * 24h);  // 10 April; clocks went forward on 29 March
  const Instant start = world.scheduler.now() - 2'592'000s;
  world.store->addMessage(world.annaChat, start, false, "just inside");
  world.store->addMessage(world.annaChat, start - 1s, false, "just outside");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 1);
}

// Each piece of work in the background takes a while.
class SlowScheduler : public VirtualScheduler {
 public:
  using VirtualScheduler::VirtualScheduler;

  Task<void> inBackground(std::function<void()> work) override {
    work();
    advance(20min);
    co_return;
  }
};

TEST(HelperEngineLimit, TheWindowIsThatOfTheMomentAtWhichTheReadBegan) {
  EngineWorld world;
  SlowScheduler slow(EngineWorld::kStart);
  world.clock = &slow;
  world.fromAnna(24h * 30 - 1min, "inside until a minute from now");
  world.read();
  EXPECT_GT(slow.now(), EngineWorld::kStart + 20min);
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 1);
}

TEST(HelperEngineLimit, AReadCountsFromItsBeginning) {
  EngineWorld world;
  world.scripted = ScriptedLanguageModel([&](const ScriptedLanguageModel::Asked& asked) {
    world.scheduler.advance(20min);
    return harbour(asked);
  });
  world.fromAnna(1h, "a day at the harbour");
  world.read();
  EXPECT_GT(world.scheduler.now(), EngineWorld::kStart);
  EXPECT_EQ(world.defaults.date("messages.lastReadAt"), EngineWorld::kStart);
  EXPECT_EQ(world.heartbeat()->lastReadAt, EngineWorld::kStart);
  EXPECT_EQ(world.heartbeat()->at, world.scheduler.now());
}

TEST(HelperEngineLimit, AbsentSettingsStartFromEmptyNotes) {
  EngineWorld world;
  world.fromAnna(3h, "first");
  world.read();
  HelperDayNotes notes = world.notes();
  notes.days[0].summary = "You and Anna spoke of an old format.";
  notes.save(world.key, world.shared);
  world.defaults = InMemoryUserDefaults();
  world.read();
  EXPECT_FALSE(world.notes().days[0].summary);
}

TEST(HelperEngineLimit, NotesThatCannotBeReadFailTheReadAndStay) {
  EngineWorld world;
  world.fromAnna(3h, "first");
  world.read();
  const auto notes = world.shared / "Helper/notes.json";
  std::filesystem::rename(notes, world.folder / "aside");
  std::filesystem::create_directory(notes);  // opens, and cannot be read
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::failed);
  EXPECT_NE(engine->state().failure.find("notes.json"), std::string::npos);
  std::filesystem::remove(notes);
  std::filesystem::rename(world.folder / "aside", notes);
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST(HelperEngineLimit, AFirstReadThatCannotStoreItsProgressAsksForNothingAgain) {
  EngineWorld world;
  world.scripted = ScriptedLanguageModel(harbour);
  world.fromAnna(1h, "a day at the harbour");
  world.defaults.setFailing(true);
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::failed);
  EXPECT_EQ(world.scripted.asked().size(), 1U);
  world.defaults.setFailing(false);
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(world.scripted.asked().size(), 1U);
  EXPECT_TRUE(world.notes().days[0].summary);
  EXPECT_TRUE(world.state()->analyzed.empty());
}

TEST(HelperEngineLimit, AHeartbeatOrAChoiceThatCannotBeWrittenStopsNothing) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  std::filesystem::create_directories(world.shared / "heartbeat.json/in-its-place");
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
  world.defaults.setFailing(true);
  EXPECT_NO_THROW(engine->setOpensAtLogin(true));
  EXPECT_TRUE(engine->opensAtLogin());
}

TEST(HelperEngineLimit, SettingsThatCannotBeReadFailTheReadAndDecideNothing) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  world.defaults.setUnreadable(true);
  const auto engine = world.makeEngine();
  EXPECT_FALSE(engine->lastReadAt());
  engine->start();
  EXPECT_EQ(engine->state().kind, Kind::failed);
  EXPECT_FALSE(world.loginItem.isEnabled()) << "the user may have turned it off";
  world.defaults.setUnreadable(false);
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST(HelperEngineLimit, AnEmptyListOfPeopleEmptiesNotesAndState) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  world.read();
  EXPECT_EQ(world.notes().days.size(), 1U);
  world.writePeople({});
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::waitingForPellora);
  EXPECT_TRUE(world.notes().days.empty());
  EXPECT_EQ(world.state(), HelperState());
  world.writePeople({world.anna, world.ben});
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(world.notes().days.size(), 1U);
}

TEST(HelperEngineLimit, WaitsForAReadOfAnotherProcess) {
  EngineWorld world;
  auto other = world.readLock.tryTake();
  const auto engine = world.makeEngine();
  engine->start();
  world.scheduler.advance(10s);
  EXPECT_EQ(engine->state().kind, Kind::starting);
  EXPECT_FALSE(world.heartbeat());
  other.reset();
  world.scheduler.advance(1s);
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_TRUE(world.readLock.tryTake()) << "given back after the read";
}

TEST(HelperEngineLimit, AReadThatFailsGivesItsLockBack) {
  EngineWorld world;
  world.store->execute("ALTER TABLE message RENAME TO elsewhere");
  world.read();
  EXPECT_TRUE(world.readLock.tryTake());
}

}  // namespace
}  // namespace pellora
