// `model`: whether a language model is available, which one and where, or why not. With a try it asks one plain and
// one guided question about invented text and shows the answers with their seconds. Done only when a model is
// available and, with a try, gave both answers. Runs the event loop, on the main thread.
// Tested by Tests/Companion/ModelCommandTests.cpp.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct ModelCommand {
  bool tries = false;  // ask two harmless questions and show the answers
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
