// The status window and its content.
#pragma once

#include <QDialog>
#include <QWidget>
#include <functional>

#include "Pellora_for_Messages/Window/NoticeCard.h"
#include "Pellora_for_Messages/Window/StatusTicker.h"

class QBoxLayout;
class QCheckBox;
class QLabel;
class QPushButton;
class QScrollArea;

namespace pellora {

class HelperEngine;
class ProgressLine;
class SecondaryLabel;

// The content of the status window: header, notice card, login section, footer, privacy paragraph. Holds no state
// of its own: everything follows the engine's fields. Tested by Tests/Window/HelperViewTests.cpp.
class HelperView : public QWidget {
  Q_OBJECT

 public:
  struct Actions {
    std::function<void()> openFullDiskAccess;
    std::function<void()> quit;
  };

  // `engine` must outlive the view.
  HelperView(HelperEngine& engine, Actions actions, QWidget* parent = nullptr);

  // Puts the keyboard on the card's button, and without a card where no key acts by accident.
  void focusFirst();

  // The height that the content needs at its width.
  int contentHeight() const;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  QWidget* makeHeader();
  QWidget* makeProgress();
  QWidget* makeLoginSection();
  QWidget* makeFooter();
  QWidget* makePrivacyParagraph();
  void refresh();
  void refreshCard();
  void refreshProgress();
  void act(HelperNotice::Action action);
  void chooseOpensAtLogin(bool on);

  HelperEngine& _engine;
  Actions _actions;
  SecondaryLabel* _status = nullptr;
  ProgressLine* _progress = nullptr;
  NoticeCard* _card = nullptr;
  QCheckBox* _toggle = nullptr;
  QPushButton* _quit = nullptr;
  StatusTicker _ticker;
};

// The status window around HelperView: as large as its content, and never larger than the screen, where the content
// scrolls instead. Escape and Ctrl+W close it and the process goes on; Ctrl+Q ends the process.
class HelperWindow : public QDialog {
  Q_OBJECT

 public:
  HelperWindow(HelperEngine& engine, HelperView::Actions actions);

  // Shows it, or brings it to the front.
  void present();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void fit();

  HelperView* _view;
  QScrollArea* _scroller;
};

}  // namespace pellora
