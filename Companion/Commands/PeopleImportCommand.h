// `people import`: reads address books and puts their people into the people file. Numbers become international ones,
// and what Messages knows of the people is said: of the store only handles are read. The key is created when there is
// none. Tested by Tests/Companion/CommandTests.cpp and PeopleCommandTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/People/ImportedPeople.h"

namespace pellora {

struct PeopleImportCommand {
  std::vector<std::string> sources;  // names of files; "-" is standard input
  bool replaces = false;             // the people file becomes exactly the import
  bool isTrial = false;              // says what would be done
  bool json = false;
  std::optional<std::string> country;  // of numbers without a country's code
  std::vector<std::string> only;       // names; empty: everybody
  bool chooses = false;                // asks on the terminal whom to take

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
  CommandResult run(const CompanionContext& context, ImportedPeople imported) const;
};

}  // namespace pellora
