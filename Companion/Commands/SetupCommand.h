// `setup`: the four steps from nothing to results in order (history, people, language model, start at login), each
// showing what it found and skippable. On a terminal it asks for what is missing and runs the command for it; without
// one it tells what is missing, and how to get it. Tested by Tests/Companion/ProgramTests.cpp.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"

namespace pellora {

struct SetupCommand {
  bool json = false;
  // Runs a command line of this program without its name; its exit code.
  std::function<int(const std::vector<std::string>&)> runCommand = {};

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
