// Texts that other programs wrote, in whatever encoding, made UTF-8. Total.
// Tested by Tests/Companion/VCardPeopleTests.cpp and CsvPeopleTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora::foreign_text {

// Without byte order marks, also where lines begin: some programs write the mark twice, and files put together have it
// in the middle. UTF-16 and UTF-32 (with a mark, or UTF-16 that shows in its ASCII) come out as UTF-8. Other bytes stay
// as they are.
std::string withoutByteOrder(std::string_view bytes);

// The charset of Western Europe, which most files have that are not UTF-8 and do not say what they are.
inline constexpr char kWestern[] = "windows-1252";

// The one that programs write in the country of a locale such as "ru_RU.UTF-8" where they do not write UTF-8.
const char* charsetOf(std::string_view locale);

// Valid UTF-8 unchanged, anything else read as this charset.
std::string utf8(std::string_view bytes, const char* charset = kWestern);

// As declared. Text that is valid UTF-8 against its declaration, and text of an unknown charset or none, is read as
// `utf8` reads it with `usual`, unless `isBelieved`: bytes that were encoded once more mean what they are declared to
// be.
std::string fromCharset(std::string_view bytes, std::string_view charset, bool isBelieved,
                        const char* usual = kWestern);

std::string quotedPrintableDecoded(std::string_view text);

// On one line: control characters and line breaks become spaces, runs of white space one space, none at the ends.
std::string onOneLine(std::string_view text);

}  // namespace pellora::foreign_text
