// The card that says what is wrong and what to do: which notice a state calls for, its texts, its looks.
#pragma once

#include <QLabel>
#include <QPlainTextEdit>
#include <QString>
#include <functional>
#include <optional>

#include "Pellora_for_Messages/Engine/HelperEngineState.h"
#include "Pellora_for_Messages/Window/Widgets.h"

namespace pellora {

// The notice card that a state calls for: texts shown verbatim, in no other language, and what the button does.
// Tested by Tests/Window/HelperNoticeTests.cpp.
struct HelperNotice {
  enum class Action { openFullDiskAccess, read };

  QString title;
  QString body;
  QString button;
  QChar mnemonic;  // the letter of `button` that presses it together with Alt
  Action action = Action::read;

  // Absent where no card is shown.
  static std::optional<HelperNotice> forState(const HelperEngineState& state);

  bool operator==(const HelperNotice&) const = default;
};

// The text of a failure: plain, wrapped anywhere, selectable, as high as it needs to be up to a bound and scrolled
// beyond it.
class FailureText : public QPlainTextEdit {
  Q_OBJECT

 public:
  explicit FailureText(QWidget* parent = nullptr);

  void showText(const QString& text);

  static constexpr int kMostLines = 8;

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void fitHeight();
  void adoptColor();
};

// A card with a title, a body and one button, the window's default button.
class NoticeCard : public RoundedPanel {
  Q_OBJECT

 public:
  explicit NoticeCard(QWidget* parent = nullptr);

  // A failure's text is bounded in height; the other bodies are known.
  void showNotice(const HelperNotice& notice, bool isFailure);

  ProminentButton* button() const { return _button; }

 Q_SIGNALS:
  void pressed(pellora::HelperNotice::Action action);

 private:
  HelperNotice::Action _action = HelperNotice::Action::read;
  QLabel* _title;
  SecondaryLabel* _body;
  FailureText* _failure;
  ProminentButton* _button;
};

}  // namespace pellora
