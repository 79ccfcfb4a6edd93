// How output for people is dressed: how wide it may be and whether it may have colors. Colors only on a terminal,
// and never when NO_COLOR is set to something or TERM is "dumb".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pellora {

struct OutputStyle {
  enum class Ink { bold, dim, green, yellow, red, blue };

  static constexpr std::size_t kUsualWidth = 80;  // columns, for running text where nothing else is known

  std::size_t width = 0;  // columns; 0: as wide as it takes
  bool hasColor = false;

  // For standard output: COLUMNS, else the terminal's width.
  static OutputStyle ofStandardOutput();

  std::string paint(Ink ink, std::string_view text) const;

  std::size_t textWidth() const { return width == 0 ? kUsualWidth : width; }
};

}  // namespace pellora
