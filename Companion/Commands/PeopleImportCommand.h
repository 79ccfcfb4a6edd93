// `people import`: reads an address book and puts its people into the people file. Two imports at once follow one
// another under a lock; the key is created when there is none. Nothing is overwritten that cannot be read, unless
// asked for. Tested by Tests/Companion/CommandTests.cpp and ProgramTests.cpp.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"
#include "Companion/People/ImportedPeople.h"

namespace pellora {

struct PeopleImportCommand {
  std::string source;     // a file's name or "-"
  bool replaces = false;  // the people file becomes exactly the import
  bool isTrial = false;   // says what would be done
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
  CommandResult run(const CompanionContext& context, const ImportedPeople& imported) const;
};

}  // namespace pellora
