#include "Pellora_for_Messages/Window/ProminentButton.h"

#include <QPainter>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

namespace {

constexpr int kSidePadding = 14;  // device-independent pixels
constexpr int kTopPadding = 6;
constexpr int kRoom = 2;  // around the button, for the focus ring
constexpr double kRadius = 6;

}  // namespace

ProminentButton::ProminentButton(QWidget* parent) : QPushButton(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAttribute(Qt::WA_Hover);
}

QSize ProminentButton::sizeHint() const {
  const QSize words = fontMetrics().size(Qt::TextSingleLine, text());
  return words + QSize(2 * (kSidePadding + kRoom), 2 * (kTopPadding + kRoom));
}

void ProminentButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QColor fill = palette().color(QPalette::Highlight);
  if (!isEnabled()) fill.setAlphaF(0.5F);
  if (isDown())
    fill = fill.darker(118);
  else if (underMouse())
    fill = fill.lighter(108);
  const QRectF face = QRectF(rect()).adjusted(kRoom, kRoom, -kRoom, -kRoom);
  painter.setPen(Qt::NoPen);
  painter.setBrush(fill);
  painter.drawRoundedRect(face, kRadius, kRadius);
  if (hasFocus()) {
    painter.setPen(HelperLook::secondary(palette()));
    painter.setBrush(Qt::NoBrush);
    const QRectF ring = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(ring, kRadius + kRoom, kRadius + kRoom);
  }
  painter.setPen(palette().color(QPalette::HighlightedText));
  painter.drawText(rect(), Qt::AlignCenter, text());
}

}  // namespace pellora
