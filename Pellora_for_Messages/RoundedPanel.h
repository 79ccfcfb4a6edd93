// A surface with rounded corners that things stand on; drawn in colours of the palette.
#pragma once

#include <QWidget>

namespace pellora {

class RoundedPanel : public QWidget {
  Q_OBJECT

 public:
  using QWidget::QWidget;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellora
