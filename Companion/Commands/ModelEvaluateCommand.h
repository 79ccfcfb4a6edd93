// `model evaluate`: asks the model that the helper would ask about invented days and says whether it is good enough.
// Without a model it tells what the guards make of true, random and empty answers. Done only when the model is good
// enough. Runs the event loop, on the main thread. Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct ModelEvaluateCommand {
  std::string casesFile;  // JSON lines; empty: the built-in cases
  int repeats = 1;
  bool withoutModel = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
