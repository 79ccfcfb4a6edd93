// Texts as guards and prompts see them: the form in which phrases are looked for, one-line texts, disguises of
// characters, full stops that end no sentence, and questions about characters that are answered without walking a whole
// answer, which may be of any size. Pure. Tested by Tests/Core/GuardTextTests.cpp.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace pellora {

namespace GuardText {

// Lower-cased, with straight apostrophes and one more space at either end, so that a phrase with spaces around it is
// found at the ends as well.
std::string prepared(std::string_view text);

// Whether any of the phrases occurs in the text, letter for letter.
bool containsAny(std::string_view text, std::span<const std::string_view> phrases);

// Valid UTF-8 with every line break that Unicode knows (CR with LF counts as one) written as a space.
std::string onOneLine(std::string_view text);

// Lower-cased, with look-alikes of ASCII characters (full-width letters, other scripts' full stops, the one-dot leader)
// written as ASCII and invisible characters left out: what a reader takes the text for.
std::string withoutDisguise(std::string_view text);

// Whether the full stop at `mark` belongs to an abbreviation ("Dr.", "a.m."), to initials or to a single one ("J.").
bool isFullStopOfAbbreviation(std::string_view text, std::size_t mark);

// Whether the ASCII byte at `offset` is a character of its own: no mark follows it and nothing joins it from before.
bool isWholeCharacter(std::string_view text, std::size_t offset);

// Whether the text has more than `count` characters.
bool isLongerThan(std::string_view text, std::size_t count);

}  // namespace GuardText

}  // namespace pellora
