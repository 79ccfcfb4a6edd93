#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "Pellora_for_Messages/HelperApp.h"
#include "Pellora_for_Messages/Window/HelperLook.h"
#include "Pellora_for_Messages/Window/NoticeCard.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Window/WindowWorld.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::waitUntil;
using support::WindowWorld;
using Kind = HelperEngineState::Kind;

class HelperAppTest : public testing::Test {
 protected:
  ~HelperAppTest() override { QApplication::setPalette(QPalette()); }

  void start() { app = std::make_unique<HelperApp>(*qApp, world.platform(), world.desktop()); }
  int runUntilQuit(const std::function<void()>& deed) {
    QTimer::singleShot(0, deed);
    QTimer::singleShot(10s, [] { QCoreApplication::exit(99); });
    return QApplication::exec();
  }

  WindowWorld world;
  std::unique_ptr<HelperApp> app;
};

TEST_F(HelperAppTest, ReadsAtOnceWithoutAWindow) {
  start();
  EXPECT_EQ(app->engine().state().kind, Kind::idle);
  EXPECT_EQ(app->window(), nullptr);
}

TEST_F(HelperAppTest, ClosingTheWindowLeavesTheProcess) {
  constexpr int kWentOn = 42;
  QGuiApplication::setQuitOnLastWindowClosed(true);  // as it is unless the app says otherwise
  start();
  for (int round = 0; round < 3; ++round) {
    app->openWindow();
    ASSERT_NE(app->window(), nullptr);
    EXPECT_TRUE(app->window()->isVisible());
    // A process that ends with its last window turns no third time after the window is gone.
    int turns = 0;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, qApp, [&] {
      if (app->window() == nullptr && ++turns == 3) QCoreApplication::exit(kWentOn);
    });
    poll.start(0);
    EXPECT_EQ(runUntilQuit([&] { app->window()->close(); }), kWentOn);
    EXPECT_EQ(app->window(), nullptr);
  }
  app->menu().actions().at(2)->trigger();
  EXPECT_EQ(app->engine().state().kind, Kind::idle);
}

TEST_F(HelperAppTest, OpeningAnOpenWindowKeepsIt) {
  start();
  app->openWindow();
  const HelperWindow* first = app->window();
  app->menu().actions().at(3)->trigger();
  EXPECT_EQ(app->window(), first);
}

TEST_F(HelperAppTest, ReopeningWhileTheWindowClosesLeavesAWindow) {
  start();
  app->openWindow();
  app->window()->close();
  app->openWindow();
  QApplication::processEvents();
  ASSERT_NE(app->window(), nullptr);
  EXPECT_TRUE(app->window()->isVisible());
}

TEST_F(HelperAppTest, QuitsFromTheMenuTheWindowAndTheSystem) {
  start();
  EXPECT_EQ(runUntilQuit([&] { app->menu().actions().at(5)->trigger(); }), 0);
  app->openWindow();
  EXPECT_EQ(runUntilQuit([&] { app->window()->findChild<QPushButton*>(QStringLiteral("quit"))->click(); }), 0);
  EXPECT_EQ(runUntilQuit([&] { world.quitRequests.request(); }), 0);
}

TEST_F(HelperAppTest, QuitsInTheMiddleOfASlowAnswer) {
  start();
  world.startReading(app->engine());
  ASSERT_EQ(app->engine().state().kind, Kind::reading);
  EXPECT_EQ(runUntilQuit([&] { app->menu().actions().at(5)->trigger(); }), 0);
  app.reset();
  world.gated.answerAll();
}

TEST_F(HelperAppTest, TrayItemComesWithItsPlace) {
  start();
  EXPECT_EQ(app->tray().item(), nullptr);
  world.trayHost.appear();
  ASSERT_NE(app->tray().item(), nullptr);
  EXPECT_TRUE(app->tray().item()->isVisible());
  EXPECT_EQ(app->tray().item()->contextMenu(), &app->menu());
}

TEST_F(HelperAppTest, ChoosingTheTrayItemOpensTheWindow) {
  using Reason = QSystemTrayIcon::ActivationReason;
  start();
  world.trayHost.appear();
  for (const Reason reason : {Reason::Context, Reason::MiddleClick}) Q_EMIT app->tray().item()->activated(reason);
  EXPECT_EQ(app->window(), nullptr) << "the menu is not the window";
  for (const Reason reason : {Reason::Trigger, Reason::DoubleClick}) {
    Q_EMIT app->tray().item()->activated(reason);
    ASSERT_NE(app->window(), nullptr);
    EXPECT_TRUE(app->window()->isVisible());
    app->window()->close();
    ASSERT_TRUE(waitUntil([&] { return app->window() == nullptr; }));
  }
}

TEST_F(HelperAppTest, OpenFullDiskAccessShowsTheSettingsOfTheStore) {
  start();
  world.bring(app->engine(), Kind::needsFullDiskAccess);
  app->openWindow();
  ASSERT_TRUE(world.privacySettings.shown().empty());
  app->window()->findChild<NoticeCard*>()->button()->click();
  EXPECT_EQ(world.privacySettings.shown(), std::vector<std::filesystem::path>{world.database});
}

TEST_F(HelperAppTest, ReadsNothingAsleepAndOnceAfterwards) {
  start();
  world.sleepNotice.announceSleep();
  const auto before = world.heartbeat();
  world.scheduler.advance(90s);
  EXPECT_EQ(world.heartbeat()->at, before->at);
  world.sleepNotice.announceResume();
  EXPECT_EQ(world.heartbeat()->at, WindowWorld::kStart + 90s);
}

TEST_F(HelperAppTest, BringsTheWindowToTheFrontWithTheDesktopsPermission) {
  start();
  app->openWindow("a token");
  ASSERT_NE(app->window(), nullptr);
  app->openWindow();
  EXPECT_EQ(world.windowActivation.tokens(), (std::vector<std::string>{"a token", ""}));
  const std::uint64_t window = app->window()->winId();
  EXPECT_EQ(world.windowActivation.windows(), (std::vector<std::uint64_t>{window, window}));
}

TEST_F(HelperAppTest, WindowComesBackWhereItWas) {
  start();
  app->openWindow();
  app->window()->move(120, 60);
  app->window()->close();
  ASSERT_TRUE(waitUntil([&] { return app->window() == nullptr; }));
  app->openWindow();
  EXPECT_EQ(app->window()->pos(), QPoint(120, 60));
  app->window()->move(80, 40);
  app.reset();
  start();
  app->openWindow();
  EXPECT_EQ(app->window()->pos(), QPoint(80, 40));
}

TEST_F(HelperAppTest, AWindowWhoseScreenIsGoneOpensWhereItIsSeen) {
  world.defaults.store({{HelperApp::kPlaceKey, std::string("9000 9000")}});
  start();
  app->openWindow();
  EXPECT_TRUE(app->window()->screen()->availableGeometry().contains(app->window()->pos()));
}

TEST_F(HelperAppTest, OpenAtLoginFollowsOtherPrograms) {
  start();
  world.loginItem.changeElsewhere(false);
  EXPECT_FALSE(app->engine().opensAtLogin());
  world.loginItem.changeElsewhere(true);
  EXPECT_TRUE(app->engine().opensAtLogin());
}

TEST_F(HelperAppTest, GivesMemoryBackOnceThingsHaveSettled) {
  start();
  world.scheduler.advance(HelperApp::kSettling);
  EXPECT_EQ(world.memoryReleases, 1);
  app->openWindow();
  app->window()->close();
  EXPECT_TRUE(waitUntil([&] { return app->window() == nullptr; }));
  world.scheduler.advance(HelperApp::kSettling);
  EXPECT_EQ(world.memoryReleases, 2);
}

TEST_F(HelperAppTest, FollowsTheDesktopIntoTheDarkAndBack) {
  QApplication::setPalette(QPalette(QColor(0xef, 0xef, 0xef)));
  start();
  world.appearance.prefer(true);
  EXPECT_FALSE(HelperLook::isDark(QApplication::palette()));
  app->openWindow();
  EXPECT_TRUE(HelperLook::isDark(QApplication::palette()));
  world.appearance.prefer(false);
  EXPECT_FALSE(HelperLook::isDark(QApplication::palette()));
}

TEST_F(HelperAppTest, OnlyTheEnginesTimerRunsWhileNothingIsOpen) {
  start();
  app->openWindow();
  app->window()->close();
  EXPECT_TRUE(waitUntil([&] { return app->window() == nullptr; }));
  world.scheduler.advance(HelperApp::kSettling);
  EXPECT_EQ(world.scheduler.waiting(), 1U);
}

}  // namespace
}  // namespace pellora
