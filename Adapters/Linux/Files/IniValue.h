// How texts are spelt as keys and values of an INI settings file, the way the desktop toolkit's settings class
// reads and writes them: escapes after a backslash, quotes around what would be misread, '@' doubled at the front,
// commas outside quotes make a list. Tested by Tests/Adapters/IniUserDefaultsTests.cpp against that class.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora::IniValue {

std::string escapedKey(std::string_view key);

std::string encoded(std::string_view text);

// Absent when the value is a list or another kind of thing that is no text.
std::optional<std::string> decoded(std::string_view rawValue);

// The comment behind the value, from the blanks before its ';'; empty when there is none.
std::string_view trailingComment(std::string_view rawValue);

}  // namespace pellora::IniValue
