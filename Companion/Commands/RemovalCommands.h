// What removes lately records: `delete` one person's, `sweep` those that are of no use.
// Tested by Tests/Companion/RemovalCommandTests.cpp.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct DeleteCommand {
  std::string person;  // as PersonChoice takes it; an identifier works without the key
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// Removes the files among the records that do not open with the key or are not their person's, and the records of
// people who are no longer in the people file. What cannot be read stays, and so does everything without a key.
struct SweepCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
