// An address book's file read as an import does it, where no country is known, in tests of the formats.
#pragma once

#include <string_view>

#include "Companion/People/PeopleParser.h"
#include "Companion/People/PhoneNumbers.h"

namespace pellora::support {

inline ImportedPeople readPeople(std::string_view bytes, const PhoneNumbers::Hints& hints = {}) {
  ImportedPeople people = parsePeople(bytes);
  PhoneNumbers(hints, people).normalise(people);
  return people;
}

}  // namespace pellora::support
