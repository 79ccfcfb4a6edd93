// A surface with rounded corners that things stand on; drawn in colours of the palette. To assistive technology it is
// a group.
#pragma once

#include <QWidget>

namespace pellora {

class RoundedPanel : public QWidget {
  Q_OBJECT

 public:
  explicit RoundedPanel(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellora
