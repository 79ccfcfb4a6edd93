#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "Pellora_for_Messages/Window/HelperLook.h"
#include "Pellora_for_Messages/Window/HelperView.h"
#include "Pellora_for_Messages/Window/HelperWindow.h"
#include "Pellora_for_Messages/Window/NoticeCard.h"
#include "Tests/Window/WindowWorld.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::WindowWorld;
using Kind = HelperEngineState::Kind;

constexpr Kind kAllKinds[] = {
    Kind::starting, Kind::needsFullDiskAccess, Kind::waitingForPellora, Kind::reading, Kind::idle, Kind::failed};

class HelperViewTest : public testing::Test {
 protected:
  ~HelperViewTest() override { QApplication::setPalette(QPalette()); }

  template <class Widget>
  Widget* child(const char* name) {
    auto* found = window.findChild<Widget*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
  }
  HelperView* view() { return window.findChild<HelperView*>(); }
  std::string text(const char* name) { return child<QLabel>(name)->text().toStdString(); }
  void bring(Kind kind) {
    world.bring(*engine, kind);
    ASSERT_EQ(engine->state().kind, kind) << engine->state().failure;
  }
  void show() {
    window.present();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    QApplication::processEvents();
  }

  WindowWorld world;
  std::unique_ptr<HelperEngine> engine = world.makeEngine();
  int settingsOpened = 0;
  int quits = 0;
  HelperWindow window{*engine, {[this] { ++settingsOpened; }, [this] { ++quits; }}};
};

double luminance(const QColor& colour) {
  const auto linear = [](double value) {
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one);
  const double b = luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

std::string accessibleText(QWidget* widget, QAccessible::Text kind) {
  QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
  return interface != nullptr ? interface->text(kind).toStdString() : "no interface";
}

TEST_F(HelperViewTest, SaysWhatItIsAndWhatItDoesNot) {
  show();
  EXPECT_EQ(window.windowTitle().toStdString(), "Pellora for Messages");
  EXPECT_EQ(text("title"), "Pellora for Messages");
  EXPECT_EQ(text("status"), "Starting…");
  EXPECT_EQ(child<QCheckBox>("opensAtLogin")->text().toStdString(), "Open at login");
  EXPECT_EQ(text("loginCaption"), "Pellora for Messages only reads new messages while it's open.");
  EXPECT_EQ(text("footerCaption"), "Pellora for Messages keeps running in the menu bar when you close this window.");
  EXPECT_EQ(child<QPushButton>("quit")->text().toStdString(), "Quit");
  EXPECT_EQ(text("privacy"),
            "Your messages never leave this Mac. For the people already in Pellora, it writes a short summary of your "
            "last 30 days of texts, the day you last wrote, and any big news for you to add; only that reaches your "
            "other devices, through your iCloud. Group chats, numbers and people who aren't in Pellora are skipped "
            "and never saved.");
}

TEST_F(HelperViewTest, StandsInOneColumnOfAFixedWidth) {
  bring(Kind::needsFullDiskAccess);
  show();
  EXPECT_EQ(view()->width(), 460);
  EXPECT_EQ(window.size(), view()->size());
  EXPECT_EQ(window.minimumSize(), window.maximumSize());
  EXPECT_EQ(view()->layout()->spacing(), 12);
  const char* const column[] = {"title",        "cardTitle",    "cardBody",      "cardButton",
                                "opensAtLogin", "loginCaption", "footerCaption", "privacy"};
  int last = -1;
  for (const char* name : column) {
    const int y = child<QWidget>(name)->mapTo(view(), QPoint()).y();
    EXPECT_GT(y, last) << name;
    last = y;
  }
  EXPECT_EQ(child<QWidget>("card")->layout()->contentsMargins(), QMargins(14, 14, 14, 14));
  EXPECT_EQ(child<QWidget>("card")->layout()->spacing(), 8);
  EXPECT_EQ(child<QWidget>("loginSection")->layout()->contentsMargins(), QMargins(20, 20, 20, 20));
}

TEST_F(HelperViewTest, ShowsACardOnlyInThreeStates) {
  for (const Kind kind : kAllKinds) {
    WindowWorld other;
    const auto otherEngine = other.makeEngine();
    HelperWindow otherWindow(*otherEngine, {[] {}, [] {}});
    other.bring(*otherEngine, kind);
    ASSERT_EQ(otherEngine->state().kind, kind);
    otherWindow.present();
    const auto notice = HelperNotice::forState(otherEngine->state());
    const auto* card = otherWindow.findChild<NoticeCard*>();
    EXPECT_EQ(card->isVisible(), notice.has_value());
    if (!notice) continue;
    EXPECT_EQ(card->findChild<QLabel*>(QStringLiteral("cardTitle"))->text(), notice->title);
    EXPECT_EQ(card->button()->text(), notice->button);
    EXPECT_TRUE(card->button()->isDefault());
  }
}

TEST_F(HelperViewTest, ShowsExactlyTheFailuresText) {
  bring(Kind::failed);
  show();
  EXPECT_EQ(child<QPlainTextEdit>("cardFailure")->toPlainText().toStdString(), engine->state().failure);
  EXPECT_EQ(engine->state().failure.find("query("), 0U) << engine->state().failure;
  EXPECT_FALSE(child<QLabel>("cardBody")->isVisible());
}

TEST_F(HelperViewTest, TakesNoMarkupFromAFailure) {
  NoticeCard card;
  const QString nasty = QStringLiteral("<b>bold</b> <a href='http://example.org'>x</a> &amp;\n") + QString(5000, u'w');
  card.resize(420, 100);
  card.showNotice(*HelperNotice::forState(HelperEngineState::failed(nasty.toStdString())), true);
  card.show();
  const auto* text = card.findChild<QPlainTextEdit*>(QStringLiteral("cardFailure"));
  EXPECT_EQ(text->toPlainText(), nasty);
  const int mostHigh = QFontMetrics(text->font()).lineSpacing() * (FailureText::kMostLines + 1);
  EXPECT_LE(text->height(), mostHigh);
  EXPECT_LE(card.sizeHint().height(), 420);
}

TEST_F(HelperViewTest, ShowsEveryLabelAsPlainText) {
  for (const QLabel* label : window.findChildren<QLabel*>())
    if (label->pixmap().isNull()) EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
}

TEST_F(HelperViewTest, CardButtonsDoWhatTheySay) {
  bring(Kind::needsFullDiskAccess);
  show();
  child<QPushButton>("cardButton")->click();
  EXPECT_EQ(settingsOpened, 1);
  EXPECT_EQ(engine->state().kind, Kind::needsFullDiskAccess);

  std::filesystem::rename(world.folder / "away.db", world.database);
  world.writePeople({});
  engine->requestRead();
  ASSERT_EQ(engine->state().kind, Kind::waitingForPellora);
  world.writePeople({world.anna});
  child<QPushButton>("cardButton")->click();
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_FALSE(child<QWidget>("card")->isVisible());

  world.store->execute("ALTER TABLE message RENAME TO gone");
  engine->requestRead();
  ASSERT_EQ(engine->state().kind, Kind::failed);
  world.store->execute("ALTER TABLE gone RENAME TO message");
  child<QPushButton>("cardButton")->click();
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(settingsOpened, 1);
}

TEST_F(HelperViewTest, ReturnPressesTheCardsButtonButNotFromQuit) {
  bring(Kind::needsFullDiskAccess);
  show();
  child<QCheckBox>("opensAtLogin")->setFocus();
  QTest::keyClick(child<QCheckBox>("opensAtLogin"), Qt::Key_Return);
  EXPECT_EQ(settingsOpened, 1);
  EXPECT_EQ(quits, 0);
  child<QPushButton>("quit")->setFocus();
  QTest::keyClick(child<QPushButton>("quit"), Qt::Key_Return);
  EXPECT_EQ(settingsOpened, 1);
  EXPECT_EQ(quits, 1);
}

TEST_F(HelperViewTest, ReturnDoesNothingWithoutACard) {
  bring(Kind::idle);
  show();
  child<QCheckBox>("opensAtLogin")->setFocus();
  QTest::keyClick(child<QCheckBox>("opensAtLogin"), Qt::Key_Return);
  EXPECT_EQ(quits, 0);
  EXPECT_TRUE(window.isVisible());
}

TEST_F(HelperViewTest, ToggleShowsWhatTheServiceReports) {
  show();
  auto* toggle = child<QCheckBox>("opensAtLogin");
  EXPECT_FALSE(toggle->isChecked());
  toggle->click();
  EXPECT_TRUE(toggle->isChecked());
  EXPECT_TRUE(world.loginItem.isEnabled());
  world.loginItem.setRefusing(true);
  toggle->click();
  EXPECT_TRUE(toggle->isChecked());
  EXPECT_TRUE(engine->opensAtLogin());
  world.loginItem.setRefusing(false);
  toggle->click();
  EXPECT_FALSE(toggle->isChecked());
  world.loginItem.setRefusing(true);
  toggle->click();
  EXPECT_FALSE(toggle->isChecked());
}

TEST_F(HelperViewTest, ToggleFollowsTheEngine) {
  show();
  engine->setOpensAtLogin(true);
  EXPECT_TRUE(child<QCheckBox>("opensAtLogin")->isChecked());
}

TEST_F(HelperViewTest, CountsTheDaysWhileReading) {
  show();
  EXPECT_FALSE(child<QProgressBar>("progress")->isVisible());
  bring(Kind::reading);
  EXPECT_TRUE(child<QProgressBar>("progress")->isVisible());
  EXPECT_EQ(child<QProgressBar>("progress")->maximum(), 2);
  EXPECT_EQ(child<QProgressBar>("progress")->value(), 1);
  EXPECT_FALSE(child<QProgressBar>("progress")->isTextVisible());
  world.gated.setAvailable(false);
  for (int rounds = 0; rounds < 50 && world.gated.waiting() > 0; ++rounds) world.gated.answerAll();
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_FALSE(child<QProgressBar>("progress")->isVisible());
}

TEST_F(HelperViewTest, KeepsTheTimeTrueWhileItIsShownAndOnlyThen) {
  bring(Kind::idle);
  EXPECT_EQ(world.scheduler.waiting(), 0U);
  show();
  world.scheduler.advance(3h);
  EXPECT_EQ(text("status"), "Connected · read 3 hours ago");
  EXPECT_EQ(world.scheduler.waiting(), 1U);
  window.close();
  EXPECT_EQ(world.scheduler.waiting(), 0U);
}

TEST_F(HelperViewTest, EverythingHasAnAccessibleNameAndRole) {
  bring(Kind::failed);
  show();
  struct Expected {
    const char* name;
    QAccessible::Role role;
    const char* text;
  };
  const Expected expected[] = {{"cardButton", QAccessible::Button, "Try Again"},
                               {"opensAtLogin", QAccessible::CheckBox, "Open at login"},
                               {"quit", QAccessible::Button, "Quit"},
                               {"title", QAccessible::StaticText, "Pellora for Messages"},
                               {"status", QAccessible::StaticText, "Couldn't read Messages"},
                               {"card", QAccessible::Grouping, "Couldn't read Messages"},
                               {"cardTitle", QAccessible::StaticText, "Couldn't read Messages"},
                               {"cardFailure", QAccessible::EditableText, "Couldn't read Messages"},
                               {"progress", QAccessible::ProgressBar, "Days read"}};
  for (const Expected& each : expected) {
    auto* widget = child<QWidget>(each.name);
    EXPECT_EQ(accessibleText(widget, QAccessible::Name), each.text) << each.name;
    EXPECT_EQ(QAccessible::queryAccessibleInterface(widget)->role(), each.role) << each.name;
  }
  EXPECT_EQ(accessibleText(child<QWidget>("headerMark"), QAccessible::Name), "Pellora for Messages");
  EXPECT_EQ(accessibleText(&window, QAccessible::Name), "Pellora for Messages");
}

TEST_F(HelperViewTest, TabGoesFromTheCardToTheToggleToQuit) {
  bring(Kind::needsFullDiskAccess);
  show();
  QApplication::setActiveWindow(&window);
  child<QPushButton>("cardButton")->setFocus();
  QTest::keyClick(&window, Qt::Key_Tab);
  EXPECT_TRUE(child<QCheckBox>("opensAtLogin")->hasFocus());
  QTest::keyClick(&window, Qt::Key_Tab);
  EXPECT_TRUE(child<QPushButton>("quit")->hasFocus());
  QTest::keyClick(&window, Qt::Key_Tab);
  EXPECT_TRUE(child<QPushButton>("cardButton")->hasFocus());
}

TEST_F(HelperViewTest, KeyboardStartsWhereItIsNeeded) {
  show();
  QApplication::setActiveWindow(&window);
  EXPECT_TRUE(child<QCheckBox>("opensAtLogin")->hasFocus());
  WindowWorld other;
  const auto otherEngine = other.makeEngine();
  other.bring(*otherEngine, Kind::failed);
  HelperWindow otherWindow(*otherEngine, {[] {}, [] {}});
  otherWindow.present();
  QApplication::setActiveWindow(&otherWindow);
  EXPECT_TRUE(otherWindow.findChild<NoticeCard*>()->button()->hasFocus());
}

TEST_F(HelperViewTest, EscapeAndControlWClose) {
  show();
  QTest::keyClick(&window, Qt::Key_Escape);
  EXPECT_FALSE(window.isVisible());
  show();
  QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(quits, 0);
}

TEST_F(HelperViewTest, StaysReadableInLightAndDark) {
  show();
  for (const QPalette& palette : {QPalette(QColor(0xef, 0xef, 0xef)), HelperLook::darkPalette()}) {
    QApplication::setPalette(palette);
    QApplication::processEvents();
    for (const char* name : {"status", "loginCaption", "footerCaption", "privacy", "title"}) {
      const auto* label = child<QLabel>(name);
      const QColor ink = label->palette().color(QPalette::WindowText);
      EXPECT_GE(contrast(ink, palette.color(QPalette::Window)), 4.5) << name;
      EXPECT_GE(contrast(ink, HelperLook::panel(palette)), 4.5) << name;
    }
    EXPECT_GE(contrast(palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight)), 3.0);
  }
}

TEST_F(HelperViewTest, GrowsAndShrinksWithTheCard) {
  bring(Kind::idle);
  show();
  const int plain = window.height();
  bring(Kind::failed);
  QApplication::processEvents();
  EXPECT_GT(window.height(), plain);
}

}  // namespace
}  // namespace pellora
