// Puts imported people into the people that are there already. Somebody is the same person when the identifier is
// the same, or the first name (ignoring case and spelling form) together with a number or an address; then the
// identifier stays and name, numbers and addresses become the import's. Entries of one import that are the same
// person are joined. Pure but for the random identifiers of people who come without any.
// Tested by Tests/Companion/PeopleMergeTests.cpp.
#pragma once

#include <string>
#include <vector>

#include "Companion/People/ImportedPerson.h"
#include "Companion/People/PersonChange.h"
#include "PelloraMessagesCore/HelperPerson.h"

namespace pellora {

struct PeopleMerge {
  // `add` keeps everybody who is there; `replace` keeps the imported people only (with the identifiers they had).
  enum class Mode { add, replace };

  std::vector<HelperPerson> people;   // those that were there in their order, then the new ones
  std::vector<PersonChange> changes;  // one for every imported person, then those who were removed

  static PeopleMerge merge(const std::vector<HelperPerson>& present, const std::vector<ImportedPerson>& imported,
                           Mode mode);
};

}  // namespace pellora
