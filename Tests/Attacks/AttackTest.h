// A home of its own with people, messages and the key in a file, and both programs run in it: for trying attacks on the
// shipped programs.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {

class AttackTest : public testing::Test {
 protected:
  AttackTest() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "PELLORA_MODEL", "NO_COLOR"}) _environment.unset(name);
    for (const auto& [name, value] : _home.environment()) _environment.set(name, value);
    _environment.set("COLUMNS", "400");  // sentences stay on one line
  }

  // The exit code; -1 when the program did not end within a minute. Its output goes to `output` and `errors`.
  int helper(const std::vector<std::string>& arguments) { return run(PELLORA_HELPER, arguments); }
  int companion(const std::vector<std::string>& arguments) { return run(PELLORA_COMPANION, arguments); }

  int run(const std::string& program, const std::vector<std::string>& arguments) {
    support::ProgramRun run({program, arguments, {}});
    const int code = run.wait();
    output = run.output();
    errors = run.errors();
    return code;
  }

  support::ScratchHome _home;
  support::ScopedEnvironment _environment;
  std::string output;
  std::string errors;
};

}  // namespace pellora
