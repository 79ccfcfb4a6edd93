// Reads people out of an address book's file: a JSON list, jCards, a table (CSV), vCards or LDIF, told apart by
// content. Pure and total: any bytes give people, skipped entries or a problem in one sentence, in linear time and
// without recursion. Each format has a source of its own.
// Tested by Tests/Companion/PeopleParserTests.cpp and one file per format.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactCard.h"

namespace pellora {

// `charset` is the one that the user's programs write where they do not write UTF-8 and do not say so.
ImportedPeople parsePeople(std::string_view bytes, const char* charset = foreign_text::kWestern);

// People out of a table whose first line names the columns: separated by commas, semicolons or tabs (found out),
// several number and address columns, several values in one field. Bytes that are not UTF-8 are read in the charset in
// which most columns have names that are known, first of all in the one given. Total, linear.
// Tested by Tests/Companion/CsvPeopleTests.cpp.
ImportedPeople parseCsvPeople(std::string_view bytes, const char* charset);

// People out of a JSON list of {"id", "firstName", "phones", "emails"} or an object that has such a list as
// "people". "name" may stand for "firstName", "phone" and "email" for the lists, a single text for a list. And out of
// jCards (RFC 7095), a single card or a list. Total. Tested by Tests/Companion/PeopleParserTests.cpp.
ImportedPeople parseJsonPeople(std::string_view json);

// Whether a line names an LDIF entry.
bool containsLdif(std::string_view text);

// People out of LDIF (RFC 2849) as mail programs and directories write it: entries between empty lines, folded lines,
// values in base64 after "::". Total, linear. Tested by Tests/Companion/CorpusTests.cpp.
ImportedPeople parseLdifPeople(std::string_view text);

// Whether a line opens a vCard.
bool containsVCard(std::string_view text);

// People out of vCards of versions 2.1, 3.0 and 4.0 as the common address books write them: several cards in a
// file, cards inside cards, cards without an end, pictures of any size. Groups and organizations are skipped. `text`
// is UTF-8 or, where a card declares it, another charset; what is neither is read in `charset`. Total, linear, without
// recursion. Tested by Tests/Companion/VCardPeopleTests.cpp.
ImportedPeople parseVCardPeople(std::string_view text, const char* charset);

}  // namespace pellora

namespace pellora::input_file {

inline constexpr std::size_t kMaximumSize = std::size_t{256} << 20;  // bytes

// The whole file, or standard input for "-". Throws CompanionFailure.
std::string read(const std::string& name);

}  // namespace pellora::input_file
