// `model`: whether a language model is available, which one and where, or why not, and what the helper's last
// questions came to. Where nothing is set up and nothing found it looks at the places where model servers usually
// listen and proposes the line that sets one up. With a try it asks the program's own kinds of questions about
// invented text and shows what the guards make of the answers. Done only when a model is available and, with a try,
// gave both answers.
// `model use` keeps which server and model the helper asks; `model forget` goes back to the default.
// All run the event loop, on the main thread. Tested by Tests/Companion/ModelCommandTests.cpp.
#pragma once

#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct ModelCommand {
  bool tries = false;  // ask questions about invented text and show the answers
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct ModelUseCommand {
  std::string url;
  std::string model;    // empty: the one that the server would be asked for now
  std::string keyFile;  // empty: no key
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct ModelForgetCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
