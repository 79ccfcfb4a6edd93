// `people list`: whom the helper looks for.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct PeopleListCommand {
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
