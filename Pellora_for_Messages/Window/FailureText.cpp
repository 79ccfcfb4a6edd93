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
  adoptColour();
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
  if (event->type() == QEvent::PaletteChange) adoptColour();
  if (event->type() == QEvent::FontChange) fitHeight();
}

void FailureText::fitHeight() {
  int lines = 0;
  for (QTextBlock block = document()->begin(); block.isValid() && lines <= kMostLines; block = block.next()) {
    blockBoundingRect(block);  // lays the block out
    lines += qMax(1, block.layout()->lineCount());
  }
  // Keys have something to do here only where there is something to scroll.
  setFocusPolicy(lines > kMostLines ? Qt::StrongFocus : Qt::ClickFocus);
  const double lineHeight = QFontMetricsF(font()).lineSpacing();
  setFixedHeight(static_cast<int>(std::ceil(lineHeight * qBound(1, lines, kMostLines))) + 2);
}

void FailureText::adoptColour() {
  const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QPalette();
  const QColor colour = HelperLook::secondary(surroundings);
  if (palette().color(QPalette::Text) == colour) return;
  QPalette own;
  own.setColor(QPalette::Text, colour);
  own.setColor(QPalette::Base, Qt::transparent);
  setPalette(own);
}

}  // namespace pellora
