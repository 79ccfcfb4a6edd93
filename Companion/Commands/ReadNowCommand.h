// What asks for a read: `read-now` for one at once, `reread` for everything again at the next one.
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
