// One person that Pellora asks the helper to look for.
#pragma once

#include <string>
#include <vector>

#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

struct HelperPerson {
  Uuid id;
  std::string firstName;            // may be empty
  std::vector<std::string> phones;  // as ContactNormalization::phone writes them
  std::vector<std::string> emails;  // as ContactNormalization::email writes them

  bool operator==(const HelperPerson&) const = default;
};

}  // namespace pellora
