// `status`: on one screen whether everything is in place, and what to do next.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct StatusCommand {
  bool json = false;

  // Asks the model server, so an event loop must exist. Works with anything missing.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
