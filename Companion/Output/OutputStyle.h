// The look of output for people: width, colors, tables.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

// How wide output may be and whether it may have colors. Colors only on a terminal, and never when NO_COLOR is set to
// something or TERM is "dumb".
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

// Rows and columns for people. Columns are as wide as their widest cell; when a row would not fit the width, the
// last column gives way first, then the widest, and columns that are worth nothing in part the very last. A row may
// have notes, which get lines of their own below it and are wrapped, not cut. Cells and notes are made printable.
// Tested by Tests/Companion/DisplayTextTests.cpp.
class TextTable {
 public:
  enum class Side { left, right };

  struct Column {
    std::string heading;
    Side side = Side::left;
    bool isWhole = false;  // gives way only when nothing else can: half an identifier is of no use
  };

  // Without headings when all are empty.
  explicit TextTable(std::vector<Column> columns) : _columns(std::move(columns)) {}

  void add(std::vector<std::string> cells, std::vector<std::string> notes = {});

  // Whole lines, without spaces at their ends.
  std::string render(const OutputStyle& style, const std::string& indent = {}) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    std::vector<std::string> notes;
  };

  std::vector<std::size_t> widths(std::size_t available) const;
  std::size_t& widestOf(std::vector<std::size_t>& widths, bool withWhole) const;
  std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const;

  std::vector<Column> _columns;
  std::vector<Row> _rows;
};

}  // namespace pellora
