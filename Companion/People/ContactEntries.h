// Takes numbers, addresses and names as address books spell them into an ImportedPerson.
// Tested by Tests/Companion/VCardPeopleTests.cpp and CsvPeopleTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora::contact_entries {

// "tel:" in front and an extension behind the number fall away; an address in a number's place is taken as one.
// What normalises to nothing is dropped.
void addPhone(ImportedPerson& person, std::string_view text);

// "mailto:" in front falls away, of "Anna <anna@example.org>" what is inside; what has no "@" is dropped.
void addEmail(ImportedPerson& person, std::string_view text);

// Drops repeats, keeping the first.
void removeRepeats(ImportedPerson& person);

std::string firstWord(std::string_view name);

}  // namespace pellora::contact_entries
