// One person as an address book names them, ready to become a HelperPerson.
#pragma once

#include <string>
#include <vector>

namespace pellora {

struct ImportedPerson {
  std::string entry;                // what the source calls the entry, for messages
  std::string firstName;            // may be empty when the source says so
  std::string uid;                  // the source's own identifier; empty when it has none
  std::vector<std::string> phones;  // normalised, no repeats
  std::vector<std::string> emails;  // likewise

  bool operator==(const ImportedPerson&) const = default;
};

}  // namespace pellora
