// Plain text in the secondary style, wrapped where it is too long; follows changes of the palette.
#pragma once

#include <QLabel>

namespace pellora {

class SecondaryLabel : public QLabel {
  Q_OBJECT

 public:
  explicit SecondaryLabel(const QString& text = {}, QWidget* parent = nullptr);

 protected:
  void changeEvent(QEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void adoptColor();
};

}  // namespace pellora
