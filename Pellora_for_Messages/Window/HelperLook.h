// Fonts, colors and measures of the window, all derived from the desktop's font and palette, so that they follow
// its theme.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>

namespace pellora {

namespace HelperLook {

// Device-independent pixels.
inline constexpr int kContentWidth = 460;
inline constexpr int kContentMargin = 20;
inline constexpr int kSpacing = 12;
inline constexpr int kCardSpacing = 8;
inline constexpr int kCardPadding = 14;
inline constexpr int kLoginPadding = 20;
inline constexpr int kCornerRadius = 10;
inline constexpr int kMarkSize = 48;

QFont titleFont();     // a third title, semibold
QFont headlineFont();  // bold text size
QFont captionFont();   // smaller than text

// For what matters less than the text, yet readable (contrast of at least 4.5 to 1 on the usual palettes).
QColor secondary(const QPalette& palette);

// A surface a little apart from the window, and the line around it.
QColor panel(const QPalette& palette);
QColor panelEdge(const QPalette& palette);

bool isDark(const QPalette& palette);

// How far two colors are apart for the eye, 1 to 21: the contrast ratio of the Web Content Accessibility Guidelines.
double contrast(const QColor& one, const QColor& other);

// The palette's accent as the ground of a button, and the ink on it: at least 4.5 to 1 apart.
struct Accent {
  QColor ground;
  QColor ink;
};
Accent accent(const QPalette& palette);

// The part of a progress bar that is done: at least 3 to 1 from the window and from the part still to do.
QColor progress(const QPalette& palette);

// `text` with an ampersand before the first `letter`, which then presses what shows it; unchanged without that letter.
QString withMnemonic(const QString& text, QChar letter);

// The palette for desktops whose dark preference the window library does not follow by itself.
QPalette darkPalette();

}  // namespace HelperLook

}  // namespace pellora
