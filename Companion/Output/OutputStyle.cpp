#include "Companion/Output/OutputStyle.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include "Companion/Output/DisplayText.h"

namespace pellora {

namespace {

constexpr std::size_t kNarrowest = 20;
constexpr std::size_t kWidest = 1000;

std::size_t widthFromEnvironment() {
  const char* text = std::getenv("COLUMNS");
  if (text == nullptr) return 0;
  std::size_t width = 0;
  const char* end = text + std::strlen(text);
  const auto parsed = std::from_chars(text, end, width);
  return parsed.ec == std::errc() && parsed.ptr == end ? width : 0;
}

std::size_t widthOfTerminal() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool isSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

const char* code(OutputStyle::Ink ink) {
  switch (ink) {
    case OutputStyle::Ink::bold:
      return "\x1B[1m";
    case OutputStyle::Ink::dim:
      return "\x1B[2m";
    case OutputStyle::Ink::green:
      return "\x1B[32m";
    case OutputStyle::Ink::yellow:
      return "\x1B[33m";
    case OutputStyle::Ink::red:
      return "\x1B[31m";
    case OutputStyle::Ink::blue:
      return "\x1B[34m";
  }
  return "";
}

}  // namespace

OutputStyle OutputStyle::ofStandardOutput() {
  OutputStyle style;
  const bool isTerminal = isatty(STDOUT_FILENO) == 1;
  style.width = widthFromEnvironment();
  if (style.width == 0 && isTerminal) style.width = widthOfTerminal();
  if (style.width != 0) style.width = std::min(std::max(style.width, kNarrowest), kWidest);
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
  style.hasColor = isTerminal && !isSet("NO_COLOR") && !isDumb;
  return style;
}

std::string OutputStyle::paint(Ink ink, std::string_view text) const {
  if (!hasColor || text.empty()) return std::string(text);
  return code(ink) + std::string(text) + "\x1B[0m";
}

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowestColumn = 6;
constexpr char kNoteIndent[] = "    ";

void giveWay(std::size_t& column, std::size_t& excess) {
  if (column <= kNarrowestColumn) return;
  const std::size_t given = std::min(excess, column - kNarrowestColumn);
  column -= given;
  excess -= given;
}

std::string noteLines(const std::string& note, const std::string& indent, std::size_t width) {
  if (width <= indent.size()) return indent + note + "\n";
  std::string text;
  for (const std::string& line : display::wrapped(note, width - indent.size())) text += indent + line + "\n";
  return text;
}

}  // namespace

void TextTable::add(std::vector<std::string> cells, std::vector<std::string> notes) {
  for (std::string& cell : cells) cell = display::printable(cell);
  for (std::string& note : notes) note = display::printable(note);
  cells.resize(_columns.size());
  _rows.push_back({std::move(cells), std::move(notes)});
}

std::size_t& TextTable::widestOf(std::vector<std::size_t>& widths, bool withWhole) const {
  std::size_t widest = 0;
  for (std::size_t column = 0; column < widths.size(); ++column) {
    const bool isBetter = widths[column] > widths[widest] || (_columns[widest].isWhole && !withWhole);
    if (isBetter && (withWhole || !_columns[column].isWhole)) widest = column;
  }
  return widths[widest];
}

std::vector<std::size_t> TextTable::widths(std::size_t available) const {
  std::vector<std::size_t> widths;
  for (std::size_t column = 0; column < _columns.size(); ++column) {
    std::size_t widest = display::width(_columns[column].heading);
    for (const auto& row : _rows) widest = std::max(widest, display::width(row.cells[column]));
    widths.push_back(widest);
  }
  if (available == 0) return widths;
  const std::size_t total = std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
  std::size_t excess = total > available ? total - available : 0;
  if (!_columns.back().isWhole) giveWay(widths.back(), excess);
  for (std::size_t round = 0; excess > 0 && round < widths.size(); ++round) giveWay(widestOf(widths, false), excess);
  for (std::size_t round = 0; excess > 0 && round < widths.size(); ++round) giveWay(widestOf(widths, true), excess);
  return widths;
}

std::string TextTable::line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const {
  std::string text;
  for (std::size_t column = 0; column < cells.size(); ++column) {
    const std::string cell = display::fitted(cells[column], widths[column]);
    const std::size_t used = display::width(cell);
    const std::string filling(widths[column] > used ? widths[column] - used : 0, ' ');
    if (column > 0) text.append(kGap, ' ');
    text += _columns[column].side == Side::right ? filling + cell : cell + filling;
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string TextTable::render(const OutputStyle& style, const std::string& indent) const {
  const bool isLimited = style.width > indent.size();
  const auto columnWidths = widths(isLimited ? style.width - indent.size() : style.width);
  std::vector<std::string> headings;
  for (const Column& column : _columns) headings.push_back(column.heading);
  std::string text;
  const bool hasHeadings = std::any_of(headings.begin(), headings.end(), [](const auto& h) { return !h.empty(); });
  if (hasHeadings) text += indent + style.paint(OutputStyle::Ink::bold, line(headings, columnWidths)) + "\n";
  for (const Row& row : _rows) {
    text += indent + line(row.cells, columnWidths) + "\n";
    for (const std::string& note : row.notes) text += noteLines(note, indent + kNoteIndent, style.width);
  }
  return text;
}

}  // namespace pellora
