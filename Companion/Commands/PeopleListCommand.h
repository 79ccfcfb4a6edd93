// `people list`: whom the helper looks for, and who of them appears in Messages. `people suggest`: with whom one writes
// most among those whom nobody of them is. Of messages counts and dates are read, no text.
// Tested by Tests/Companion/CommandTests.cpp and PeopleCommandTests.cpp.
#pragma once

#include <cstddef>

#include "Companion/CompanionContext.h"

namespace pellora {

struct PeopleListCommand {
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

struct PeopleSuggestCommand {
  std::size_t count = 20;  // at most so many
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
