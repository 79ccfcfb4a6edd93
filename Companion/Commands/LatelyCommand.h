// What shows the lately records, all or one person's: `lately` for people at a terminal, for scripts or as a page in a
// file, `view` as a page in the browser. Tested by Tests/Companion/LatelyCommandTests.cpp and ProgramTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct LatelyCommand {
  std::optional<std::string> person;  // as PersonChoice takes it; absent: everybody
  bool json = false;
  std::string htmlFile;  // of a page, "-" is standard output; empty: text instead

  CommandResult run(const CompanionContext& context) const;
};

// Writes the page into the runtime folder, fresh each time, and opens it. What keeps the records from being shown is on
// the page too: somebody who starts this from a menu sees nothing else.
struct ViewCommand {
  static constexpr char kName[] = "view";

  std::optional<std::string> person;
  bool json = false;

  // Where the page goes in this runtime folder.
  static std::filesystem::path page(const std::filesystem::path& runtime);

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
