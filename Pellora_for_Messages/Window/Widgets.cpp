#include "Pellora_for_Messages/Window/Widgets.h"

#include <QAccessibleWidget>
#include <QEvent>
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
