#include "Pellora_for_Messages/Window/RoundedPanel.h"

#include <QAccessibleWidget>
#include <QPainter>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

namespace {

QAccessibleInterface* groupOf(const QString&, QObject* object) {
  auto* panel = qobject_cast<RoundedPanel*>(object);
  return panel == nullptr ? nullptr : new QAccessibleWidget(panel, QAccessible::Grouping);
}

}  // namespace

RoundedPanel::RoundedPanel(QWidget* parent) : QWidget(parent) {
  QAccessible::installFactory(groupOf);  // once only, however often it is asked for
}

void RoundedPanel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(HelperLook::panelEdge(palette()));
  painter.setBrush(HelperLook::panel(palette()));
  const QRectF inside = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.drawRoundedRect(inside, HelperLook::kCornerRadius, HelperLook::kCornerRadius);
}

}  // namespace pellora
