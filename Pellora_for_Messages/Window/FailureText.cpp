#include "Pellora_for_Messages/Window/FailureText.h"

#include <QEvent>
#include <QTextBlock>
#include <QTextLayout>
#include <cmath>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

FailureText::FailureText(QWidget* parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  setFrameStyle(QFrame::NoFrame);
  setTextInteractionFlags(Qt::TextSelectableByMouse);
  setTabChangesFocus(true);
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  document()->setDocumentMargin(0);
  viewport()->setAutoFillBackground(false);
  adoptColor();
}

void FailureText::showText(const QString& text) {
  if (toPlainText() != text) setPlainText(text);
  fitHeight();
}

void FailureText::resizeEvent(QResizeEvent* event) {
  QPlainTextEdit::resizeEvent(event);
  fitHeight();
}

void FailureText::changeEvent(QEvent* event) {
  QPlainTextEdit::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) adoptColor();
  if (event->type() == QEvent::FontChange) fitHeight();
}

void FailureText::fitHeight() {
  int lines = 0;
  double height = 0;  // of as many whole lines as are shown
  for (QTextBlock block = document()->begin(); block.isValid() && lines <= kMostLines; block = block.next()) {
    blockBoundingRect(block);  // lays the block out
    const QTextLayout& layout = *block.layout();
    for (int line = 0; line < layout.lineCount() && lines <= kMostLines; ++line)
      if (++lines <= kMostLines) height += layout.lineAt(line).height();
  }
  // Keys have something to do here only where there is something to scroll.
  setFocusPolicy(lines > kMostLines ? Qt::StrongFocus : Qt::ClickFocus);
  setFixedHeight(static_cast<int>(std::ceil(qMax(height, QFontMetricsF(font()).height()))) + 2);
}

void FailureText::adoptColor() {
  const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QPalette();
  const QColor color = HelperLook::secondary(surroundings);
  if (palette().color(QPalette::Text) == color) return;
  QPalette own;
  own.setColor(QPalette::Text, color);
  own.setColor(QPalette::Base, Qt::transparent);
  setPalette(own);
}

}  // namespace pellora
