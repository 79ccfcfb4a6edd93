// A command cannot do what was asked. The text is one sentence for the user.
#pragma once

#include <stdexcept>

namespace pellora {

class CompanionFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pellora
