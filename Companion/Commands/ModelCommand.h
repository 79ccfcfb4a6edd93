// `pellora-companion model`: whether a language model is available, which one and where, or why not. With a try it
// asks one plain and one guided question about invented text and shows the answers with their seconds.
// The result is for `out`, a sentence on what is wrong for `err`; nothing else is written and nothing is thrown.
// Main thread; runs the event loop, and brings a QCoreApplication when there is none.
// Tested by Tests/Companion/ModelCommandTests.cpp.
#pragma once

#include <ostream>

#include "Companion/Commands/ModelCommandOptions.h"

namespace pellora {

// The exit code: 0 only when a model is available and, with a try, gave both answers; 1 otherwise.
int runModelCommand(const ModelCommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace pellora
