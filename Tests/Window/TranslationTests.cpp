// Every text that the template for translators holds reaches a widget when it is translated.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTranslator>

#include "Pellora_for_Messages/Window/HelperMenu.h"
#include "Pellora_for_Messages/Window/HelperWindow.h"
#include "Tests/Window/WindowWorld.h"

namespace pellora {
namespace {

// Translates everything that it is asked into the same, marked, and remembers the question.
class MarkingTranslator : public QTranslator {
 public:
  QString translate(const char* context, const char* source, const char*, int) const override {
    if (!QByteArray(context).startsWith("pellora::")) return {};
    asked.insert(QLatin1String(context) + u'|' + QString::fromUtf8(source));
    return u'~' + QString::fromUtf8(source);
  }
  bool isEmpty() const override { return false; }

  mutable QSet<QString> asked;
};

QSet<QString> messagesOfTheTemplate() {
  QFile file(QStringLiteral(PELLORA_TRANSLATION_TEMPLATE));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly));
  QString text = QString::fromUtf8(file.readAll());
  text.replace(QLatin1String("&apos;"), QLatin1String("'"));
  QSet<QString> messages;
  QString context;
  static const QRegularExpression pattern(QStringLiteral("<name>([^<]*)</name>|<source>([^<]*)</source>"));
  for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
    const auto match = matches.next();
    if (match.capturedLength(1) > 0)
      context = match.captured(1);
    else
      messages.insert(context + u'|' + match.captured(2));
  }
  return messages;
}

TEST(Translation, TemplateHoldsWhatTheProgramAsksFor) {
  MarkingTranslator translator;
  QCoreApplication::installTranslator(&translator);
  support::WindowWorld world;
  const auto engine = world.makeEngine();
  world.bring(*engine, HelperEngineState::Kind::waitingForPellora);
  const HelperMenu menu(*engine, [] {}, [] {});
  const HelperWindow window(*engine, {[] {}, [] {}});
  QCoreApplication::removeTranslator(&translator);

  QSet<QString> expected = messagesOfTheTemplate();
  expected.remove(QStringLiteral("pellora::HelperTray|Pellora for Messages"));
  EXPECT_EQ(translator.asked, expected);

  EXPECT_EQ(menu.actions().at(5)->text().toStdString(), "~Quit");
  EXPECT_EQ(window.findChild<QCheckBox*>()->text().remove(u'&').toStdString(), "~Open at login");
  // The status line and the cards are never translated.
  EXPECT_EQ(menu.actions().at(0)->text().toStdString(), "Waiting for Pellora");
  EXPECT_EQ(window.findChild<QLabel*>(QStringLiteral("status"))->text().toStdString(), "Waiting for Pellora");
  EXPECT_EQ(window.findChild<QPushButton*>(QStringLiteral("cardButton"))->text().remove(u'&').toStdString(),
            "Check Again");
}

}  // namespace
}  // namespace pellora
