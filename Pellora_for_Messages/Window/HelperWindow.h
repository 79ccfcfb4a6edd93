// The status window around HelperView, as large as its content. Escape and Ctrl+W close it; the process goes on.
#pragma once

#include <QDialog>

#include "Pellora_for_Messages/Window/HelperView.h"

namespace pellora {

class HelperWindow : public QDialog {
  Q_OBJECT

 public:
  HelperWindow(HelperEngine& engine, HelperView::Actions actions);

  // Shows it, or brings it to the front.
  void present();
};

}  // namespace pellora
