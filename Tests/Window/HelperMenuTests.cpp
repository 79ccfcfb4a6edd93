#include <gtest/gtest.h>

#include "Pellora_for_Messages/Window/HelperMenu.h"
#include "Tests/Window/WindowWorld.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::WindowWorld;
using Kind = HelperEngineState::Kind;

class HelperMenuTest : public testing::Test {
 protected:
  QAction* action(int index) { return menu.actions().at(index); }
  std::string status() { return action(0)->text().toStdString(); }

  WindowWorld world;
  std::unique_ptr<HelperEngine> engine = world.makeEngine();
  int opened = 0;
  int quits = 0;
  HelperMenu menu{*engine, [this] { ++opened; }, [this] { ++quits; }};
};

TEST_F(HelperMenuTest, HasItsItemsInOrder) {
  struct Item {
    const char* text;
    bool isSeparator;
    bool isEnabled;
  };
  const Item items[] = {{"Starting…", false, false},
                        {"", true, true},
                        {"Read Messages Now", false, true},
                        {"Open Pellora for Messages…", false, true},
                        {"", true, true},
                        {"Quit", false, true}};
  ASSERT_EQ(menu.actions().size(), static_cast<qsizetype>(std::size(items)));
  for (int index = 0; index < menu.actions().size(); ++index) {
    EXPECT_EQ(action(index)->isSeparator(), items[index].isSeparator) << index;
    EXPECT_EQ(action(index)->text().toStdString(), items[index].text) << index;
    if (!items[index].isSeparator) EXPECT_EQ(action(index)->isEnabled(), items[index].isEnabled) << index;
  }
}

TEST_F(HelperMenuTest, TellsEveryStateInItsFirstLine) {
  const std::pair<Kind, const char*> lines[] = {{Kind::starting, "Starting…"},
                                                {Kind::needsFullDiskAccess, "Waiting for Full Disk Access"},
                                                {Kind::waitingForPellora, "Waiting for Pellora"},
                                                {Kind::reading, "Reading Messages…"},
                                                {Kind::idle, "Connected · read now"},
                                                {Kind::failed, "Couldn't read Messages"}};
  for (const auto& [kind, line] : lines) {
    WindowWorld other;
    const auto otherEngine = other.makeEngine();
    HelperMenu otherMenu(*otherEngine, [] {}, [] {});
    other.bring(*otherEngine, kind);
    EXPECT_EQ(otherEngine->state().kind, kind) << line << otherEngine->state().failure;
    EXPECT_EQ(otherMenu.actions().at(0)->text().toStdString(), line);
  }
}

TEST_F(HelperMenuTest, ReadsWhenAsked) {
  action(2)->trigger();
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST_F(HelperMenuTest, ThreeRequestsDuringAReadGiveOneMore) {
  world.startReading(*engine);
  int reads = 0;
  Kind last = engine->state().kind;
  ASSERT_EQ(last, Kind::reading);
  QObject::connect(engine.get(), &HelperEngine::changed, &menu, [&] {
    if (engine->state().kind == Kind::idle && last != Kind::idle) ++reads;
    last = engine->state().kind;
  });
  for (int press = 0; press < 3; ++press) action(2)->trigger();
  world.gated.setAvailable(false);
  for (int rounds = 0; rounds < 50 && world.gated.waiting() > 0; ++rounds) world.gated.answerAll();
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(reads, 2);
}

TEST_F(HelperMenuTest, OpensTheWindowAndQuits) {
  action(3)->trigger();
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(quits, 0);
  action(5)->trigger();
  EXPECT_EQ(quits, 1);
}

TEST_F(HelperMenuTest, KeepsTheTimeTrueWhileItIsOpenAndOnlyThen) {
  world.bring(*engine, Kind::idle);
  EXPECT_EQ(world.scheduler.waiting(), 0U);
  world.scheduler.advance(7min);
  Q_EMIT menu.aboutToShow();
  EXPECT_EQ(status(), "Connected · read 7 minutes ago");
  world.scheduler.advance(1min);
  EXPECT_EQ(status(), "Connected · read 8 minutes ago");
  Q_EMIT menu.aboutToHide();
  EXPECT_EQ(world.scheduler.waiting(), 0U);
  world.scheduler.advance(1h);
  Q_EMIT menu.aboutToShow();
  EXPECT_EQ(status(), "Connected · read 1 hour ago");
}

TEST_F(HelperMenuTest, CountsSecondsRightAfterARead) {
  world.bring(*engine, Kind::idle);
  Q_EMIT menu.aboutToShow();
  world.scheduler.advance(5s);
  EXPECT_EQ(status(), "Connected · read 5 seconds ago");
}

TEST_F(HelperMenuTest, StopsCountingWhenNobodySaysThatItWasClosed) {
  world.bring(*engine, Kind::idle);
  Q_EMIT menu.aboutToShow();
  EXPECT_GT(world.scheduler.waiting(), 0U);
  world.scheduler.advance(HelperMenu::kLongestOpen + 1s);
  EXPECT_EQ(world.scheduler.waiting(), 0U);
}

TEST_F(HelperMenuTest, NeedsNoTimerWhileItTellsNoTime) {
  Q_EMIT menu.aboutToShow();
  Q_EMIT menu.aboutToHide();
  EXPECT_EQ(world.scheduler.waiting(), 0U);
}

}  // namespace
}  // namespace pellora
