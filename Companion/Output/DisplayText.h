// Text as a terminal shows it: how many columns it takes, cut and padded to columns, wrapped. What came from files
// goes through `printable` first, so that nothing in it can steer a terminal. Tested by
// Tests/Companion/DisplayTextTests.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

}  // namespace pellora::display
