// Text as a terminal shows it: how many columns it takes, cut and padded to columns, wrapped. Text from files
// goes through `printable` first, so that nothing in it can steer a terminal. Tested by
// Tests/Companion/DisplayTextTests.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora::display {

// On one line, without control characters and without those that turn the direction of writing.
std::string printable(std::string_view text);

// Columns: wide and full-width East Asian characters and emoji take two, combining marks none.
std::size_t width(std::string_view text);

// At most `columns` wide, with an ellipsis when something had to go.
std::string fitted(std::string_view text, std::size_t columns);

// Filled up with spaces to `columns`.
std::string padded(std::string_view text, std::size_t columns);

// Lines of at most `columns`, broken at spaces; a longer word gets a line of its own.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

// "1 person", "2 people".
std::string counted(std::size_t count, std::string_view one, std::string_view many);

// Bytes as "512 bytes", "4 KB", "12.5 MB", "1.2 GB" (a thousand each).
std::string size(std::uintmax_t bytes);

// "Anna", "Anna and Bob", "Anna, Bob and Carla".
std::string listed(const std::vector<std::string>& items);

// A file's name as a shell takes it, for commands that people copy: in quotes when it needs them.
std::string shellWord(std::string_view name);

}  // namespace pellora::display

namespace pellora::date_text {

// Calendar dates in words. Pure. Tested by Tests/Companion/DisplayTextTests.cpp.

// "21 Nov".
std::string shortDate(const LocalCalendar::Date& date);

// "21 Nov", with the year when it is not this one.
std::string date(Instant instant, Instant now, const LocalCalendar& calendar);

// "Sat 21 Nov", with the year when it is not this one: for pages that are read later.
std::string weekdayDate(Instant instant, Instant now, const LocalCalendar& calendar);

// "today", "yesterday", else as `date`: the day of an event whose time of day is not known.
std::string dayInWords(Instant instant, Instant now, const LocalCalendar& calendar);

// "12 May" of a month from 1 to 12; empty for another.
std::string dayOfYear(int month, int day);

}  // namespace pellora::date_text
