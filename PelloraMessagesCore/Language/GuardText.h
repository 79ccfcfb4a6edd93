// What the guards share about texts: the form in which phrases are looked for, and questions about characters that
// are answered without walking a whole answer, which may be of any size. Pure.
// Tested by Tests/Core/GuardTextTests.cpp.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace pellora {

namespace GuardText {

// Lower-cased, with straight apostrophes and one space more at either end, so that a phrase with spaces around it is
// found at the ends as well.
std::string prepared(std::string_view text);

// Whether any of the phrases stands in the text, letter for letter.
bool containsAny(std::string_view text, std::span<const std::string_view> phrases);

// Whether the ASCII byte at `offset` is a character of its own: no mark follows it and nothing joins it from before.
bool isWholeCharacter(std::string_view text, std::size_t offset);

// Whether the text has more than `count` characters.
bool isLongerThan(std::string_view text, std::size_t count);

}  // namespace GuardText

}  // namespace pellora
