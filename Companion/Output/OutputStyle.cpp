#include "Companion/Output/OutputStyle.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

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

}  // namespace pellora
