// Characters, letter case and white space, defined in one place for the whole system: a character is an
// extended grapheme cluster, lower-casing is full and knows no locale, comparing without case folds fully and
// treats canonically equivalent spellings alike. Texts are UTF-8; invalid bytes are repaired where they enter
// (repairedUtf8), so everything else may rely on valid input and is merely safe, not meaningful, without it.
// Pure functions, callable from any thread. Tested by Tests/Core/TextTests.cpp.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora::text {

// Letter for letter.
template <class Words>
bool isOneOf(std::string_view word, const Words& words) {
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

bool isAscii(std::string_view text);
bool isValidUtf8(std::string_view text);

// The text with every invalid sequence replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes);

// The text as a literal in double quotes, with escapes for everything that is not plain: `\n`, `\"`, `\u{01}`.
std::string debugQuoted(std::string_view text);

// Without white space and line breaks (Unicode White_Space and U+200B) at both ends, scalar by scalar.
std::string_view trimmed(std::string_view text);

// As `trimmed`, and punctuation (general category P) goes as well.
std::string_view trimmedOfSpaceAndPunctuation(std::string_view text);
std::string_view trimmedOfPunctuation(std::string_view text);

std::string lowercased(std::string_view text);

// Number of characters.
std::size_t characterCount(std::string_view text);

// The characters one by one; the views point into `text`.
std::vector<std::string_view> characters(std::string_view text);

// The text without its first `count` characters; empty when it has no more than that.
std::string_view droppingFirst(std::string_view text, std::size_t count);

// The text's last `count` characters; all of it when it has no more than that.
std::string_view lastCharacters(std::string_view text, std::size_t count);

// Whether the last character is this one and nothing else (a combining mark after it makes another character).
bool endsWithCharacter(std::string_view text, std::string_view character);

// Whether the character's first scalar has a numeric type of any kind (digits of all scripts, fractions, ...).
bool isNumberCharacter(std::string_view character);

// By the character's first scalar: alphabetic, upper-case.
bool isLetterCharacter(std::string_view character);
bool isUppercaseCharacter(std::string_view character);

std::string replacingAll(std::string_view text, std::string_view from, std::string_view to);

// Byte offsets into the text searched.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// The first occurrence of `needle`, ignoring case, from character boundary to character boundary. An empty needle
// occurs nowhere.
std::optional<Range> findIgnoringCase(std::string_view text, std::string_view needle);

// The length in bytes of the `prefix` that the text begins with, ignoring case; absent when it does not.
std::optional<std::size_t> prefixLengthIgnoringCase(std::string_view text, std::string_view prefix);

bool equalIgnoringCase(std::string_view left, std::string_view right);

// Normalization form C. Two texts are the same text when these are equal byte by byte, and texts are ordered by
// the bytes of these.
std::string canonical(std::string_view text);

}  // namespace pellora::text
