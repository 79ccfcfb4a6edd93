// The command line of the helper. Tested by Tests/App/HelperOptionsTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pellora {

struct HelperOptions {
  enum class Mode { app, readOnce, version, help };

  Mode mode = Mode::app;
  bool background = false;  // started at login: no window

  // `arguments` without the program's name. Absent for wrong usage; `problem` then holds one sentence.
  static std::optional<HelperOptions> parse(const std::vector<std::string>& arguments, std::string& problem);

  static std::string helpText();
};

}  // namespace pellora
