// `read-now`: asks the running helper to read at once.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct ReadNowCommand {
  bool json = false;

  // Throws CompanionFailure when there is no session bus or no helper on it.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
