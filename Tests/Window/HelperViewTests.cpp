#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <set>

#include "Pellora_for_Messages/Window/HelperLook.h"
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

// What a button reads, without the mark of its mnemonic.
std::string words(const QAbstractButton* button) {
  return button->text().remove(u'&').toStdString();
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
  EXPECT_EQ(words(child<QCheckBox>("opensAtLogin")), "Open at login");
  EXPECT_EQ(text("loginCaption"), "Pellora for Messages only reads new messages while it's open.");
  EXPECT_EQ(text("footerCaption"), "Pellora for Messages keeps running in the menu bar when you close this window.");
  EXPECT_EQ(words(child<QPushButton>("quit")), "Quit");
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
  const std::set<Kind> kindsWithCard = {Kind::needsFullDiskAccess, Kind::waitingForPellora, Kind::failed};
  for (const Kind kind : kAllKinds) {
    WindowWorld other;
    const auto otherEngine = other.makeEngine();
    HelperWindow otherWindow(*otherEngine, {[] {}, [] {}});
    other.bring(*otherEngine, kind);
    ASSERT_EQ(otherEngine->state().kind, kind);
    otherWindow.present();
    const auto* card = otherWindow.findChild<NoticeCard*>();
    EXPECT_EQ(card->isVisible(), kindsWithCard.contains(kind)) << static_cast<int>(kind);
    const auto notice = HelperNotice::forState(otherEngine->state());
    if (!notice) continue;
    EXPECT_EQ(card->findChild<QLabel*>(QStringLiteral("cardTitle"))->text(), notice->title);
    EXPECT_EQ(words(card->button()), notice->button.toStdString());
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
                               {"loginSection", QAccessible::Grouping, "Open at login"},
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

TEST_F(HelperViewTest, KeyboardStartsOnTheCardsButton) {
  bring(Kind::failed);
  show();
  QApplication::setActiveWindow(&window);
  EXPECT_TRUE(child<QPushButton>("cardButton")->hasFocus());
}

TEST_F(HelperViewTest, SpaceAtFirstSightChangesNothing) {
  engine->setOpensAtLogin(true);
  show();
  QApplication::setActiveWindow(&window);
  ASSERT_NE(QApplication::focusWidget(), nullptr);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
  EXPECT_TRUE(engine->opensAtLogin());
  EXPECT_EQ(quits, 0);
}

TEST_F(HelperViewTest, ACardTakesTheKeyboardFromNowhereAndGivesItBack) {
  engine->setOpensAtLogin(true);
  show();
  QApplication::setActiveWindow(&window);
  bring(Kind::needsFullDiskAccess);
  EXPECT_TRUE(child<QPushButton>("cardButton")->hasFocus());
  std::filesystem::rename(world.folder / "away.db", world.database);
  engine->requestRead();
  ASSERT_EQ(engine->state().kind, Kind::idle);
  EXPECT_FALSE(child<QCheckBox>("opensAtLogin")->hasFocus());
  EXPECT_FALSE(child<QPushButton>("quit")->hasFocus());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
  EXPECT_TRUE(engine->opensAtLogin());
}

TEST_F(HelperViewTest, ACardLeavesTheKeyboardWhereItsUserPutIt) {
  show();
  QApplication::setActiveWindow(&window);
  child<QCheckBox>("opensAtLogin")->setFocus();
  bring(Kind::needsFullDiskAccess);
  EXPECT_TRUE(child<QCheckBox>("opensAtLogin")->hasFocus());
}

TEST_F(HelperViewTest, EveryButtonHasAMnemonicOfItsOwn) {
  for (const Kind kind : {Kind::needsFullDiskAccess, Kind::waitingForPellora, Kind::failed}) {
    WindowWorld other;
    const auto otherEngine = other.makeEngine();
    other.bring(*otherEngine, kind);
    HelperWindow otherWindow(*otherEngine, {[] {}, [] {}});
    QStringList letters;
    for (const QAbstractButton* button : otherWindow.findChildren<QAbstractButton*>()) {
      const qsizetype mark = button->text().indexOf(u'&');
      ASSERT_GE(mark, 0) << button->text().toStdString();
      letters << button->text().mid(mark + 1, 1).toLower();
    }
    EXPECT_EQ(letters.size(), 3);
    EXPECT_EQ(letters.removeDuplicates(), 0) << letters.join(u' ').toStdString();
  }
}

TEST_F(HelperViewTest, ControlQQuits) {
  show();
  QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(quits, 1);
}

TEST_F(HelperViewTest, ALongFailureScrollsToEveryLine) {
  FailureText text;
  text.resize(400, 100);
  QStringList lines;
  for (int line = 1; line <= 30; ++line) lines << QStringLiteral("line %1").arg(line);
  text.showText(lines.join(u'\n'));
  text.show();
  const auto isWhollyVisible = [&text](int line) {
    const QTextCursor cursor(text.document()->findBlockByNumber(line));
    const QRect place = text.cursorRect(cursor);
    return place.top() >= 0 && place.bottom() <= text.viewport()->height();
  };
  EXPECT_EQ(text.focusPolicy(), Qt::StrongFocus);
  for (int line = 0; line < FailureText::kMostLines; ++line) EXPECT_TRUE(isWhollyVisible(line)) << line;
  EXPECT_FALSE(isWhollyVisible(FailureText::kMostLines));
  text.verticalScrollBar()->setValue(text.verticalScrollBar()->maximum());
  EXPECT_TRUE(isWhollyVisible(29));
  EXPECT_TRUE(isWhollyVisible(29 - FailureText::kMostLines + 1));
}

TEST_F(HelperViewTest, LargeFontsWrapTheTitleAndStayOnTheScreen) {
  const QFont before = QApplication::font();
  QFont large = before;
  large.setPointSizeF(40);
  QApplication::setFont(large);
  WindowWorld other;
  const auto otherEngine = other.makeEngine();
  other.bring(*otherEngine, Kind::needsFullDiskAccess);
  HelperWindow otherWindow(*otherEngine, {[] {}, [] {}});
  otherWindow.present();
  QApplication::processEvents();
  const QRect screen = otherWindow.screen()->availableGeometry();
  EXPECT_LE(otherWindow.height(), screen.height());
  EXPECT_LE(otherWindow.width(), screen.width());
  const auto* title = otherWindow.findChild<QLabel*>(QStringLiteral("title"));
  EXPECT_GT(title->height(), 1.5 * QFontMetricsF(title->font()).height());
  const auto* view = otherWindow.findChild<HelperView*>();
  EXPECT_EQ(view->width(), 460);
  EXPECT_GE(view->height(), view->contentHeight());
  QApplication::setFont(before);
}

TEST(HelperLook, AccentAndProgressKeepTheirContrastOnEveryPalette) {
  for (const QColor window : {QColor(0xef, 0xef, 0xef), QColor(Qt::white), QColor(0x26, 0x28, 0x2b), QColor(Qt::black)})
    for (const QColor highlight : {QColor(0x30, 0x8c, 0xc6), QColor(0xff, 0xe0, 0x00), QColor(0x80, 0x80, 0x80),
                                   QColor(Qt::white), QColor(Qt::black), QColor(0x2f, 0x7d, 0xa6)})
      for (const QColor text : {QColor(Qt::white), QColor(Qt::black)}) {
        QPalette palette(window);
        palette.setColor(QPalette::Highlight, highlight);
        palette.setColor(QPalette::HighlightedText, text);
        const HelperLook::Accent accent = HelperLook::accent(palette);
        EXPECT_GE(HelperLook::contrast(accent.ground, accent.ink), 4.5) << highlight.name().toStdString();
        const QColor progress = HelperLook::progress(palette);
        EXPECT_GE(HelperLook::contrast(progress, window), 3) << highlight.name().toStdString();
        EXPECT_GE(HelperLook::contrast(progress, HelperLook::panelEdge(palette)), 3) << highlight.name().toStdString();
      }
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
      EXPECT_GE(HelperLook::contrast(ink, palette.color(QPalette::Window)), 4.5) << name;
      EXPECT_GE(HelperLook::contrast(ink, HelperLook::panel(palette)), 4.5) << name;
    }
  }
}

TEST_F(HelperViewTest, GrowsAndShrinksWithTheCard) {
  bring(Kind::idle);
  show();
  const int plain = window.height();
  bring(Kind::needsFullDiskAccess);
  QApplication::processEvents();
  const int withCard = window.height();
  EXPECT_GT(withCard, plain);
  std::filesystem::rename(world.folder / "away.db", world.database);
  bring(Kind::idle);
  QApplication::processEvents();
  EXPECT_EQ(window.height(), plain);
}

// A bar that is there only until the layout is done flickers, and its gradient begins threads that wake up to end.
TEST_F(HelperViewTest, HasNoScrollBarWhereNothingScrolls) {
  const auto* const scroller = window.findChild<QScrollArea*>();
  for (const Kind kind : {Kind::idle, Kind::needsFullDiskAccess}) {
    bring(kind);
    show();
    EXPECT_EQ(scroller->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff) << static_cast<int>(kind);
  }
}

}  // namespace
}  // namespace pellora
