// The commands that ask for a read: `read-now` starts one at once, `reread` makes the next one read everything again.
// Tested by Tests/Companion/ProgramTests.cpp.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct ReadNowCommand {
  bool json = false;

  // Throws CompanionFailure when there is no session bus or no helper on it.
  CommandResult run(const CompanionContext& context) const;
};

// Everything of the window is read again at the next read; with `language` the model is asked again for every day.
struct RereadCommand {
  bool language = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
