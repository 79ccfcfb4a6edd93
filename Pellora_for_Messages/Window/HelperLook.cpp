#include "Pellora_for_Messages/Window/HelperLook.h"

#include <QApplication>

namespace pellora::HelperLook {

namespace {

constexpr double kTitleScale = 1.3;
constexpr double kCaptionScale = 0.88;

QFont scaled(double factor, QFont::Weight weight) {
  QFont font = QApplication::font();
  if (font.pointSizeF() > 0)
    font.setPointSizeF(font.pointSizeF() * factor);
  else
    font.setPixelSize(qRound(font.pixelSize() * factor));
  font.setWeight(weight);
  return font;
}

// `share` of the first colour over the second, 0 to 1.
QColor blend(const QColor& over, const QColor& under, double share) {
  const auto mix = [share](double a, double b) { return a * share + b * (1 - share); };
  return QColor::fromRgbF(static_cast<float>(mix(over.redF(), under.redF())),
                          static_cast<float>(mix(over.greenF(), under.greenF())),
                          static_cast<float>(mix(over.blueF(), under.blueF())));
}

}  // namespace

QFont titleFont() {
  return scaled(kTitleScale, QFont::DemiBold);
}

QFont headlineFont() {
  return scaled(1, QFont::Bold);
}

QFont captionFont() {
  return scaled(kCaptionScale, QFont::Normal);
}

QColor secondary(const QPalette& palette) {
  return blend(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.68);
}

QColor panel(const QPalette& palette) {
  return isDark(palette) ? blend(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.07)
                         : blend(QColor(Qt::white), palette.color(QPalette::Window), 0.65);
}

QColor panelEdge(const QPalette& palette) {
  return blend(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.14);
}

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
}

QPalette darkPalette() {
  QPalette palette(QColor(0x35, 0x37, 0x3b), QColor(0x26, 0x28, 0x2b));
  palette.setColor(QPalette::Base, QColor(0x1c, 0x1e, 0x20));
  palette.setColor(QPalette::Highlight, QColor(0x2f, 0x7d, 0xa6));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x6f, 0xb7, 0xdb));
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x84, 0x88));
  return palette;
}

}  // namespace pellora::HelperLook
