// `people remove`: takes one person out of the people file, with the lately record; the days go from the notes at the
// helper's next read. Tested by Tests/Companion/PeopleCommandTests.cpp.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct PeopleRemoveCommand {
  std::string person;  // as PersonChoice takes it
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
