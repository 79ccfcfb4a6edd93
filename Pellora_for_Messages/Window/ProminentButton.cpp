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
  const QSize words = fontMetrics().size(Qt::TextSingleLine | Qt::TextShowMnemonic, text());
  return words + QSize(2 * (kSidePadding + kRoom), 2 * (kTopPadding + kRoom));
}

void ProminentButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const HelperLook::Accent accent = HelperLook::accent(palette());
  QColor fill = accent.ground;
  if (!isEnabled()) fill.setAlphaF(0.5F);
  // Pressed and pointed at, the ground moves away from the ink, so that the text stays as readable.
  const bool isInkLight = accent.ink == QColor(Qt::white);
  const int factor = isDown() ? 118 : underMouse() ? 108 : 100;
  fill = isInkLight ? fill.darker(factor) : fill.lighter(factor);
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
  painter.setPen(accent.ink);
  painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
}

}  // namespace pellora
