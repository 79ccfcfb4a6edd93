#include "Companion/Output/DisplayText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "Companion/Output/ForeignText.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::display {

namespace {

constexpr UChar32 kEmojiPresentation = 0xFE0F;

bool turnsDirection(UChar32 scalar) {
  return scalar == 0x200E || scalar == 0x200F || scalar == 0x061C || (scalar >= 0x202A && scalar <= 0x202E) ||
         (scalar >= 0x2066 && scalar <= 0x2069);
}

bool takesNoColumn(UChar32 scalar) {
  const auto category = static_cast<UCharCategory>(u_charType(scalar));
  return category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR ||
         category == U_CONTROL_CHAR;
}

std::size_t columnsOf(UChar32 scalar) {
  if (scalar < 0) return 1;
  if (takesNoColumn(scalar)) return 0;
  const int eastAsian = u_getIntPropertyValue(scalar, UCHAR_EAST_ASIAN_WIDTH);
  return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

// A character takes what its widest scalar takes: emoji are joined out of several wide ones.
std::size_t characterWidth(std::string_view character) {
  std::size_t widest = 0;
  std::int32_t position = 0;
  const auto length = static_cast<std::int32_t>(character.size());
  while (position < length) {
    UChar32 scalar = 0;
    U8_NEXT(character.data(), position, length, scalar);
    widest = std::max(widest, scalar == kEmojiPresentation ? std::size_t{2} : columnsOf(scalar));
  }
  return widest;
}

}  // namespace

std::string printable(std::string_view text) {
  const std::string line = foreign_text::onOneLine(text);
  std::string result;
  result.reserve(line.size());
  std::int32_t position = 0;
  const auto length = static_cast<std::int32_t>(line.size());
  while (position < length) {
    const std::int32_t begin = position;
    UChar32 scalar = 0;
    U8_NEXT(line.data(), position, length, scalar);
    if (!turnsDirection(scalar))
      result.append(line, static_cast<std::size_t>(begin), static_cast<std::size_t>(position - begin));
  }
  return result;
}

std::size_t width(std::string_view text) {
  std::size_t columns = 0;
  for (const std::string_view character : text::characters(text)) columns += characterWidth(character);
  return columns;
}

std::string fitted(std::string_view text, std::size_t columns) {
  if (width(text) <= columns) return std::string(text);
  std::string result;
  std::size_t used = 0;
  for (const std::string_view character : text::characters(text)) {
    const std::size_t needed = characterWidth(character);
    if (used + needed + 1 > columns) break;
    result += character;
    used += needed;
  }
  return columns == 0 ? result : std::string(text::trimmed(result)) + "…";
}

std::string padded(std::string_view text, std::size_t columns) {
  const std::size_t used = width(text);
  return std::string(text) + std::string(columns > used ? columns - used : 0, ' ');
}

std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string> lines;
  std::string line;
  std::size_t used = 0;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const std::string_view word = text.substr(begin, end - begin);
    begin = end + 1;
    if (word.empty()) continue;
    const std::size_t needed = width(word);
    if (!line.empty() && used + 1 + needed > columns) {
      lines.push_back(std::move(line));
      line.clear();
      used = 0;
    }
    if (!line.empty()) line += ' ';
    used += needed + (used > 0 ? 1 : 0);
    line += word;
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

std::string size(std::uintmax_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + " bytes";
  constexpr std::string_view kUnits[] = {"KB", "MB", "GB", "TB"};
  std::size_t unit = 0;
  std::uintmax_t tenths = bytes / 100;
  while (tenths >= 10'000 && unit + 1 < std::size(kUnits)) {
    tenths /= 1000;
    ++unit;
  }
  const std::string whole = std::to_string(tenths / 10);
  const bool hasTenth = tenths % 10 != 0 && tenths < 1000;
  return whole + (hasTenth ? "." + std::to_string(tenths % 10) : "") + " " + std::string(kUnits[unit]);
}

std::string listed(const std::vector<std::string>& items) {
  std::string text;
  for (std::size_t index = 0; index < items.size(); ++index) {
    if (index > 0) text += index + 1 == items.size() ? " and " : ", ";
    text += items[index];
  }
  return text;
}

std::string shellWord(std::string_view name) {
  const auto isPlain = [](char byte) {
    const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
    return isLetter || (byte >= '0' && byte <= '9') || std::string_view("/._-+,").find(byte) != std::string_view::npos;
  };
  if (!name.empty() && std::all_of(name.begin(), name.end(), isPlain)) return std::string(name);
  std::string quoted = "'";
  for (const char byte : printable(name)) quoted += byte == '\'' ? "'\\''" : std::string(1, byte);
  return quoted + "'";
}

}  // namespace pellora::display

namespace pellora::date_text {

namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr std::string_view kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

}  // namespace

std::string dayOfYear(int month, int day) {
  if (month < 1 || month > 12) return {};
  return std::to_string(day) + " " + std::string(kMonths[month - 1]);
}

std::string shortDate(const LocalCalendar::Date& date) {
  return dayOfYear(date.month, date.day);
}

std::string date(Instant instant, Instant now, const LocalCalendar& calendar) {
  const LocalCalendar::Date date = calendar.date(instant);
  const bool isThisYear = date.year == calendar.date(now).year;
  return isThisYear ? shortDate(date) : shortDate(date) + " " + std::to_string(date.year);
}

std::string weekdayDate(Instant instant, Instant now, const LocalCalendar& calendar) {
  return std::string(kWeekdays[calendar.weekday(instant) - 1]) + " " + date(instant, now, calendar);
}

std::string dayInWords(Instant instant, Instant now, const LocalCalendar& calendar) {
  const LocalCalendar::Date day = calendar.date(instant);
  if (day == calendar.date(now)) return "today";
  if (day == calendar.date(calendar.addingDays(now, -1))) return "yesterday";
  return date(instant, now, calendar);
}

}  // namespace pellora::date_text
