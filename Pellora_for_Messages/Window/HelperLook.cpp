#include "Pellora_for_Messages/Window/HelperLook.h"

#include <QApplication>
#include <algorithm>
#include <cmath>

namespace pellora::HelperLook {

namespace {

constexpr double kTitleScale = 1.3;
constexpr double kCaptionScale = 0.88;
constexpr double kTextContrast = 4.5;
constexpr double kShapeContrast = 3;
constexpr int kSteps = 20;

QFont scaled(double factor, QFont::Weight weight) {
  QFont font = QApplication::font();
  if (font.pointSizeF() > 0)
    font.setPointSizeF(font.pointSizeF() * factor);
  else
    font.setPixelSize(qRound(font.pixelSize() * factor));
  font.setWeight(weight);
  return font;
}

// `share` of the first color over the second, 0 to 1.
QColor blend(const QColor& over, const QColor& under, double share) {
  const auto mix = [share](double a, double b) { return a * share + b * (1 - share); };
  return QColor::fromRgbF(static_cast<float>(mix(over.redF(), under.redF())),
                          static_cast<float>(mix(over.greenF(), under.greenF())),
                          static_cast<float>(mix(over.blueF(), under.blueF())));
}

double luminance(const QColor& color) {
  const auto linear = [](double value) {
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

// `color` as near to itself as it can be while it keeps `isApart`, moved towards `target` where it must be.
template <class Test>
QColor moved(const QColor& color, const QColor& target, Test isApart) {
  for (int step = 0; step <= kSteps; ++step)
    if (const QColor candidate = blend(target, color, static_cast<double>(step) / kSteps); isApart(candidate))
      return candidate;
  return target;
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

double contrast(const QColor& one, const QColor& other) {
  const double first = luminance(one);
  const double second = luminance(other);
  return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

Accent accent(const QPalette& palette) {
  const QColor ground = palette.color(QPalette::Highlight);
  const QColor given = palette.color(QPalette::HighlightedText);
  const QColor ink = luminance(given) > luminance(ground) ? QColor(Qt::white) : QColor(Qt::black);
  const QColor away = ink == QColor(Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
  return {moved(ground, away, [&](const QColor& moved) { return contrast(moved, ink) >= kTextContrast; }), ink};
}

QColor progress(const QPalette& palette) {
  const QColor window = palette.color(QPalette::Window);
  const QColor rest = panelEdge(palette);
  return moved(palette.color(QPalette::Highlight), palette.color(QPalette::WindowText), [&](const QColor& moved) {
    return contrast(moved, window) >= kShapeContrast && contrast(moved, rest) >= kShapeContrast;
  });
}

QString withMnemonic(const QString& text, QChar letter) {
  const qsizetype place = text.indexOf(letter);
  return place < 0 ? text : text.left(place) + u'&' + text.mid(place);
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
