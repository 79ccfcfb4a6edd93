#include "Pellora_for_Messages/Window/ProgressLine.h"

#include <QPainter>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

namespace {

constexpr int kThickness = 6;  // device-independent pixels

}  // namespace

ProgressLine::ProgressLine(QWidget* parent) : QProgressBar(parent) {
  setTextVisible(false);
  setFixedHeight(kThickness);
}

void ProgressLine::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  const double radius = kThickness / 2.0;
  painter.setBrush(HelperLook::panelEdge(palette()));
  painter.drawRoundedRect(rect(), radius, radius);
  if (maximum() <= minimum() || value() <= minimum()) return;
  const double share = static_cast<double>(value() - minimum()) / (maximum() - minimum());
  QRectF done = rect();
  done.setWidth(qMax<double>(kThickness, width() * share));
  if (layoutDirection() == Qt::RightToLeft) done.moveRight(width());
  painter.setBrush(HelperLook::progress(palette()));
  painter.drawRoundedRect(done, radius, radius);
}

}  // namespace pellora
