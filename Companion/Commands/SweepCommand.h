// `sweep`: removes the files among the lately records that do not open with the key or are not their person's.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct SweepCommand {
  bool json = false;

  // Throws CompanionFailure; without a key nothing is removed.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
