// Reads people out of an address book's file: a JSON list, jCards, a table (CSV), vCards or LDIF, told apart
// by content. Pure and
// total: any bytes give people, skipped entries or a problem in one sentence, in linear time and without recursion.
// Tested by Tests/Companion/PeopleParserTests.cpp and one file per format.
#pragma once

#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

ImportedPeople parsePeople(std::string_view bytes);

}  // namespace pellora
