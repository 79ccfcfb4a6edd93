// How much of a task is done, as a thin line without text.
#pragma once

#include <QProgressBar>

namespace pellora {

class ProgressLine : public QProgressBar {
  Q_OBJECT

 public:
  explicit ProgressLine(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellora
