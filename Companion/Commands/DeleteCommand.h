// `delete`: removes one person's lately record.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct DeleteCommand {
  std::string person;  // as PersonChoice takes it; an identifier works without the key
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
