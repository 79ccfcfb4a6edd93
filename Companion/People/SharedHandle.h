// A number or address that several people claim, so that it matches nobody.
#pragma once

#include <string>
#include <vector>

#include "PelloraMessagesCore/HelperPerson.h"

namespace pellora {

struct SharedHandle {
  std::string handle;
  std::vector<HelperPerson> people;  // two or more, in file order

  // Numbers first, each sorted.
  static std::vector<SharedHandle> find(const std::vector<HelperPerson>& people);

  // "5551234567 is claimed by Anna and Bob, so it will match nobody."
  std::string sentence() const;
};

}  // namespace pellora
