// The window's own small widgets.
#pragma once

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

namespace pellora {

// How much of a task is done, as a thin line without text.
class ProgressLine : public QProgressBar {
  Q_OBJECT

 public:
  explicit ProgressLine(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// The button that a card is about: filled with the accent color of the palette.
class ProminentButton : public QPushButton {
  Q_OBJECT

 public:
  explicit ProminentButton(QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// A surface with rounded corners for other widgets, drawn in colors of the palette. To assistive technology it is
// a group.
class RoundedPanel : public QWidget {
  Q_OBJECT

 public:
  explicit RoundedPanel(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// Plain text in the secondary style, wrapped where it is too long; follows changes of the palette.
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
