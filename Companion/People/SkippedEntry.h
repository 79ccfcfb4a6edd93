// An entry of an address book that was not taken, and the reason as a person would put it.
#pragma once

#include <string>

namespace pellora {

struct SkippedEntry {
  std::string entry;   // a name, or "card 3", "line 7", "item 2"
  std::string reason;  // follows "skipped, ", as in "no phone number or e-mail address"

  bool operator==(const SkippedEntry&) const = default;
};

}  // namespace pellora
