#include "Pellora_for_Messages/Window/SecondaryLabel.h"

#include <QEvent>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

SecondaryLabel::SecondaryLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
  adoptColor();
}

void SecondaryLabel::changeEvent(QEvent* event) {
  QLabel::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) adoptColor();
}

bool SecondaryLabel::event(QEvent* event) {
  const bool isHandled = QLabel::event(event);
  if (event->type() == QEvent::ParentChange || event->type() == QEvent::Polish) adoptColor();
  return isHandled;
}

void SecondaryLabel::adoptColor() {
  // Derived from the parent's palette, never from the own one that it changes.
  const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QPalette();
  const QColor color = HelperLook::secondary(surroundings);
  if (palette().color(QPalette::WindowText) == color) return;
  QPalette own;
  own.setColor(QPalette::WindowText, color);
  setPalette(own);
}

}  // namespace pellora
