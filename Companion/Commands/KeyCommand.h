// `key`: whether there is an exchange key. Its bytes are never shown.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct KeyCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
