// The status window around HelperView: as large as its content, and never larger than the screen, where the content
// scrolls instead. Escape and Ctrl+W close it and the process goes on; Ctrl+Q ends the process.
#pragma once

#include <QDialog>

#include "Pellora_for_Messages/Window/HelperView.h"

class QScrollArea;

namespace pellora {

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
