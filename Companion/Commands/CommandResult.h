// What a command has to say and whether it did what was asked.
#pragma once

#include <string>

namespace pellora {

struct CommandResult {
  std::string output;     // for standard output, whole lines
  std::string complaint;  // one sentence for standard error when it was not done, else empty
};

}  // namespace pellora
