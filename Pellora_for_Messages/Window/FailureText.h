// The text of a failure: plain, wrapped anywhere, selectable, as high as it needs to be up to a bound and scrolled
// beyond it.
#pragma once

#include <QPlainTextEdit>

namespace pellora {

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

}  // namespace pellora
