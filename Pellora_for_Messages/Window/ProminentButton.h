// The button that a card is about: filled with the accent colour of the palette.
#pragma once

#include <QPushButton>

namespace pellora {

class ProminentButton : public QPushButton {
  Q_OBJECT

 public:
  explicit ProminentButton(QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellora
