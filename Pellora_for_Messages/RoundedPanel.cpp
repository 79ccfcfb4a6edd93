#include "Pellora_for_Messages/RoundedPanel.h"

#include <QPainter>

#include "Pellora_for_Messages/HelperLook.h"

namespace pellora {

void RoundedPanel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(HelperLook::panelEdge(palette()));
  painter.setBrush(HelperLook::panel(palette()));
  const QRectF inside = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.drawRoundedRect(inside, HelperLook::kCornerRadius, HelperLook::kCornerRadius);
}

}  // namespace pellora
