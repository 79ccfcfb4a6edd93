// `lately`: the lately records, all or one person's, for people, for scripts or as a page for a browser.
#pragma once

#include <optional>
#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct LatelyCommand {
  std::optional<std::string> person;  // as PersonChoice takes it; absent: everybody
  bool json = false;
  std::string htmlFile;  // of a page, "-" is standard output; empty: text instead

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
