// A store could not be created or written. The text is one sentence for a person.
#pragma once

#include <stdexcept>

namespace pellora {

class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pellora
