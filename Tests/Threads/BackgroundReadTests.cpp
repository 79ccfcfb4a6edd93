// Reads as the program does them, with a real event loop running, while the store is written and engines come and go.
// The thread sanitizer looks on in the build that has it.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "Adapters/Linux/Process/EventLoop.h"
#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/EventLoopWait.h"

namespace pellora {

namespace {

using std::chrono::minutes;
using support::EngineWorld;

class BackgroundReadTest : public testing::Test {
 protected:
  void SetUp() override {
    world.clock = &scheduler;
    write(30);
  }

  // Some days of messages of both people, dated back from the clock that the engine sees.
  void write(int count) {
    const Instant now = scheduler.now();
    for (int index = 0; index < count; ++index) {
      const std::string text = "Lunch on Friday? See https://example.org/" + std::to_string(_written);
      world.store->addMessage(index % 2 == 0 ? world.annaChat : world.benChat, now - minutes(1 + 90 * _written),
                              index % 3 == 0, text);
      ++_written;
    }
  }

  EngineWorld world;
  EventLoopScheduler scheduler;

 private:
  int _written = 0;
};

}  // namespace

TEST_F(BackgroundReadTest, ReadsWhileTheStoreGrowsEndLikeAFreshRead) {
  auto engine = world.makeEngine();
  int changes = 0;
  QObject::connect(engine.get(), &HelperEngine::changed, [&changes] { ++changes; });
  for (int round = 0; round < 20; ++round) {
    engine->requestRead();
    write(5);
    QCoreApplication::processEvents();
  }
  QCoro::waitFor(engine->readNow());
  // The state is idle for a moment between two reads, too.
  ASSERT_TRUE(support::waitUntil(
      [&] { return engine->state().kind == HelperEngine::State::Kind::idle && world.lastRow() == 130; }));
  engine.reset();
  QCoro::waitFor(world.makeEngine()->readNow());
  EXPECT_GT(changes, 0);
  EXPECT_EQ(world.lastRow(), 130);
  const std::vector<MessagesDayRecord> kept = world.notes().days;
  world.defaults.store({{"messages.lastRowID", std::int64_t{0}}});
  std::filesystem::remove_all(world.shared / "Helper");
  QCoro::waitFor(world.makeEngine()->readNow());
  EXPECT_EQ(world.notes().days, kept);
}

TEST_F(BackgroundReadTest, AnEngineMayGoAwayAtAnyMomentOfARead) {
  for (int turns = 0; turns < 40; ++turns) {
    auto engine = world.makeEngine();
    engine->requestRead();
    for (int turn = 0; turn < turns; ++turn) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
    engine.reset();
  }
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, HelperEngine::State::Kind::idle);
  EXPECT_TRUE(world.lately(world.anna.id).has_value());
}

}  // namespace pellora
