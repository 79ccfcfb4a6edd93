// When the engine reads: start, timer, watcher, debounce, read-now signal, coalescing, suspension, login item.
#include <gtest/gtest.h>

#include <algorithm>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/GatedLanguageModel.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::EngineWorld;
using support::GatedLanguageModel;
using Kind = HelperEngineState::Kind;

std::ptrdiff_t readsOf(const EngineWorld& world) {
  const auto& history = world.defaults.history();
  return std::count(history.begin(), history.end(), "messages.lastReadAt");
}

std::filesystem::path logOf(const EngineWorld& world) {
  return world.database.string() + "-wal";
}

TEST(HelperEngine, BeginsInStartingWithWhatTheDefaultsAndTheLoginItemSay) {
  EngineWorld world;
  world.loginItem.enable();
  world.defaults.store({{"messages.lastReadAt", EngineWorld::kStart - 60s}});
  const auto engine = world.makeEngine();
  EXPECT_EQ(engine->state().kind, Kind::starting);
  EXPECT_EQ(engine->lastReadAt(), EngineWorld::kStart - 60s);
  EXPECT_EQ(engine->peopleCount(), 0);
  EXPECT_EQ(engine->peopleWritten(), 0);
  EXPECT_TRUE(engine->opensAtLogin());
}

TEST(HelperEngine, TakesALastReadThatIsNoDateForNone) {
  EngineWorld world;
  world.defaults.store({{"messages.lastReadAt", std::string("yesterday")}});
  EXPECT_FALSE(world.makeEngine()->lastReadAt());
}

TEST(HelperEngine, ReadsAtStartAndASecondStartDoesNothing) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(readsOf(world), 1);
  engine->start();
  EXPECT_EQ(readsOf(world), 1);
  EXPECT_EQ(world.notifications.observerCount(), 1U);
  EXPECT_EQ(world.fileEvents.watchCount(), 2U);  // store and people
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST(HelperEngine, RegistersTheLoginItemOnTheFirstStartOnly) {
  EngineWorld world;
  world.makeEngine()->start();
  EXPECT_EQ(world.loginItem.enableCalls(), 1);
  EXPECT_TRUE(world.defaults.boolean("messages.loginItemDecided"));
  world.loginItem.disable();
  const auto second = world.makeEngine();
  second->start();
  EXPECT_EQ(world.loginItem.enableCalls(), 1);
  EXPECT_FALSE(second->opensAtLogin());
}

TEST(HelperEngine, ShowsWhatTheLoginItemServiceReportsWhenItRefuses) {
  EngineWorld world;
  world.loginItem.setRefusing(true);
  const auto engine = world.makeEngine();
  engine->setOpensAtLogin(true);
  EXPECT_FALSE(engine->opensAtLogin());
  EXPECT_TRUE(world.defaults.boolean("messages.loginItemDecided"));
  world.loginItem.setRefusing(false);
  int changes = 0;
  QObject::connect(engine.get(), &HelperEngine::changed, engine.get(), [&changes] { ++changes; });
  engine->setOpensAtLogin(true);
  EXPECT_TRUE(engine->opensAtLogin());
  engine->setOpensAtLogin(true);
  EXPECT_EQ(changes, 1);
}

TEST(HelperEngine, ReadsEvery900Seconds) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  world.scheduler.advance(899s);
  EXPECT_EQ(readsOf(world), 1);
  world.scheduler.advance(1s);
  EXPECT_EQ(readsOf(world), 2);
  world.scheduler.advance(3h);
  EXPECT_EQ(readsOf(world), 14);
}

TEST(HelperEngine, ReadsThirtySecondsAfterTheLastWriteToTheLog) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  for (int burst = 0; burst < 5; ++burst) {
    for (int event = 0; event < 1000; ++event) world.fileEvents.raise(logOf(world));
    world.scheduler.advance(10s);
    EXPECT_EQ(readsOf(world), 1);
  }
  world.scheduler.advance(19s);
  EXPECT_EQ(readsOf(world), 1);
  world.scheduler.advance(1s);
  EXPECT_EQ(readsOf(world), 2);
}

TEST(HelperEngine, AStoreThatAppearsIsReadTwoSecondsAfterItsLastChangeAndThenFollowed) {
  EngineWorld world;
  const auto hidden = world.folder / "hidden";
  world.store.reset();
  std::filesystem::rename(world.database.parent_path(), hidden);
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(engine->state().kind, Kind::needsFullDiskAccess);
  std::filesystem::rename(hidden, world.database.parent_path());
  world.fileEvents.raise(world.database);
  world.scheduler.advance(1s);
  world.fileEvents.raise(world.database);
  world.scheduler.advance(1999ms);
  EXPECT_EQ(engine->state().kind, Kind::needsFullDiskAccess);
  world.scheduler.advance(1ms);
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(readsOf(world), 1);
  world.fileEvents.raise(logOf(world));
  world.scheduler.advance(29s);
  EXPECT_EQ(readsOf(world), 1);
  world.scheduler.advance(1s);
  EXPECT_EQ(readsOf(world), 2);
}

TEST(HelperEngine, AStoreThatCouldNotBeWatchedAtTheStartIsFollowedFromTheNextReadOn) {
  EngineWorld world;
  world.fileEvents.setAvailable(false);
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(readsOf(world), 1);
  EXPECT_EQ(world.fileEvents.watchCount(), 0U);
  world.fileEvents.setAvailable(true);
  world.scheduler.advance(900s);
  EXPECT_EQ(readsOf(world), 2);
  world.fileEvents.raise(logOf(world));
  world.scheduler.advance(30s);
  EXPECT_EQ(readsOf(world), 3);
  world.fileEvents.setAvailable(false);  // a watch that holds is not given up for another
  for (const int reads : {4, 5}) {
    world.fileEvents.raise(logOf(world));
    world.scheduler.advance(30s);
    EXPECT_EQ(readsOf(world), reads);
  }
}

TEST(HelperEngine, PeopleThatAppearAreReadTwoSecondsLater) {
  EngineWorld world;
  const auto people = world.shared / "people.json";
  std::filesystem::rename(people, world.folder / "hidden");
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(engine->state().kind, Kind::waitingForPellora);
  std::filesystem::rename(world.folder / "hidden", people);
  world.fileEvents.raise(people);
  world.scheduler.advance(2s);
  EXPECT_EQ(engine->state().kind, Kind::idle);
  world.fileEvents.raise(people);  // where nothing is missing, people wait for the next read
  world.scheduler.advance(1min);
  EXPECT_EQ(readsOf(world), 1);
}

TEST(HelperEngine, AKeyringThatIsUnlockedIsReadTwoSecondsLater) {
  EngineWorld world;
  world.secrets.setState(InMemorySecretStore::State::locked);
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(engine->state().kind, Kind::waitingForPellora);
  EXPECT_EQ(world.secrets.observerCount(), 1U);
  world.secrets.setState(InMemorySecretStore::State::open);
  world.scheduler.advance(1999ms);
  EXPECT_EQ(readsOf(world), 0);
  world.scheduler.advance(1ms);
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST(HelperEngine, ReadsAtOnceOnTheReadNowSignal) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  world.notifications.post("app.pellora.messages.readNow");
  EXPECT_EQ(readsOf(world), 2);
  world.notifications.post("app.pellora.messages.other");
  EXPECT_EQ(readsOf(world), 2);
}

TEST(HelperEngine, TenRequestsDuringOneReadGiveOneMore) {
  GatedLanguageModel model;
  EngineWorld world(&model);
  world.fromAnna(1h, "Did you see the news about the harbour?");
  const auto engine = world.makeEngine();
  engine->start();
  ASSERT_EQ(model.waiting(), 1U);
  EXPECT_EQ(engine->state().kind, Kind::reading);
  for (int request = 0; request < 10; ++request) QCoro::waitFor(engine->readNow());
  model.answerAll();
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(readsOf(world), 2);
}

TEST(HelperEngine, AReadThatIsUnderWayEndsQuietlyWhenTheEngineGoes) {
  GatedLanguageModel model;
  EngineWorld world(&model);
  world.fromAnna(1h, "Did you see the news about the harbour?");
  auto engine = world.makeEngine();
  engine->start();
  ASSERT_EQ(model.waiting(), 1U);
  engine.reset();
  model.answerAll();
  EXPECT_EQ(readsOf(world), 0);
  EXPECT_FALSE(world.notes().days.at(0).summary) << "the answer came too late";
  EXPECT_FALSE(world.heartbeat());
  world.scheduler.advance(1h);
  world.notifications.post("app.pellora.messages.readNow");
  EXPECT_EQ(readsOf(world), 0);
}

// Tells before each piece of work in the background, and remembers a query that did not get to its end.
class WatchedScheduler : public VirtualScheduler {
 public:
  using VirtualScheduler::VirtualScheduler;

  Task<void> inBackground(std::function<void()> work) override {
    beforePiece(++_pieces);
    try {
      work();
    } catch (const ChatDatabase::Failure&) {
      isQueryEnded = true;
      throw;
    }
    co_return;
  }

  std::function<void(int)> beforePiece;
  bool isQueryEnded = false;

 private:
  int _pieces = 0;
};

TEST(HelperEngine, AQueryInTheBackgroundEndsWithTheEngine) {
  EngineWorld world;
  world.store->execute(
      "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000)"
      " INSERT INTO message (guid, date, service) SELECT i, 794000000000000000, 'iMessage' FROM n;"
      "INSERT INTO chat_message_join (chat_id, message_id) SELECT 1, ROWID FROM message");
  int ended = 0;
  for (int piece = 0; piece <= 4; ++piece) {
    world.defaults = InMemoryUserDefaults();  // so that everything is read
    WatchedScheduler scheduler(EngineWorld::kStart);
    world.clock = &scheduler;
    auto engine = world.makeEngine();
    scheduler.beforePiece = [&](int number) {
      if (number == piece) engine.reset();
    };
    engine->requestRead();
    ended += scheduler.isQueryEnded ? 1 : 0;
    if (piece == 0) EXPECT_EQ(readsOf(world), 1);
  }
  EXPECT_EQ(ended, 1) << "one of the pieces is what reads the store";
}

TEST(HelperEngine, DoesNotReadWhileSuspendedAndReadsOnceAfterwards) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  world.scheduler.advance(880s);
  engine->suspend();
  world.scheduler.advance(40s);  // a tick of the timer comes and goes
  world.notifications.post("app.pellora.messages.readNow");
  EXPECT_EQ(readsOf(world), 1);
  engine->resume();
  EXPECT_EQ(readsOf(world), 2);
  engine->resume();
  world.scheduler.advance(5min);
  EXPECT_EQ(readsOf(world), 2);
}

TEST(HelperEngine, ReadsAgainWhenNobodyTellsOfTheEndOfASleep) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  engine->start();
  engine->suspend();
  world.notifications.post("app.pellora.messages.readNow");
  world.scheduler.advance(119s);
  EXPECT_EQ(readsOf(world), 1);
  world.scheduler.advance(1s);
  EXPECT_EQ(readsOf(world), 2) << "what was asked for meanwhile";
  world.notifications.post("app.pellora.messages.readNow");
  EXPECT_EQ(readsOf(world), 3);
  engine->resume();
  EXPECT_EQ(readsOf(world), 4) << "the end of the sleep is heard of after all";
}

TEST(HelperEngine, TellsHowManyDaysAreAnalyzed) {
  GatedLanguageModel model;
  EngineWorld world(&model);
  world.fromAnna(1h, "Did you see the news about the harbour?");
  world.fromAnna(25h, "The harbour was full of ships yesterday.");
  const auto engine = world.makeEngine();
  engine->start();
  EXPECT_EQ(engine->daysToAnalyze(), 2);
  EXPECT_EQ(engine->daysAnalyzed(), 0);
  model.answerOne();  // the newest day's sentence; it holds nothing else to ask about
  EXPECT_EQ(engine->daysAnalyzed(), 1);
  model.answerAll();
  EXPECT_EQ(engine->daysToAnalyze(), 0);
}

// Every change is painted.
TEST(HelperEngine, TellsAsOftenOfManyRecordsAsOfOne) {
  const auto changesOfRead = [](std::size_t count) {
    EngineWorld world;
    std::vector<HelperPerson> people;
    for (std::size_t index = 0; index < count; ++index) {
      const std::string number = "555020" + std::to_string(1000 + index);
      people.push_back({Uuid::random(), "Cleo", {number}, {}});
      world.store->addMessage(world.store->addChat({"+1" + number}), EngineWorld::kStart - 1h,
                              support::SmallStore::kFromThem, "Hello");
    }
    world.writePeople(people);
    const auto engine = world.makeEngine();
    int changes = 0;
    QObject::connect(engine.get(), &HelperEngine::changed, engine.get(), [&changes] { ++changes; });
    engine->start();
    EXPECT_EQ(engine->peopleWritten(), static_cast<std::int64_t>(count));
    return changes;
  };
  EXPECT_EQ(changesOfRead(30), changesOfRead(1));
}

}  // namespace
}  // namespace pellora
