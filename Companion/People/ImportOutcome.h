// What an import took, what it skipped and what to watch out for, as `people import` tells it.
#pragma once

#include <string>
#include <vector>

#include "Companion/Output/OutputStyle.h"
#include "Companion/People/ImportedPeople.h"
#include "Companion/People/PeopleMerge.h"
#include "Companion/People/SharedHandle.h"

namespace pellora {

struct ImportOutcome {
  ImportedPeople::Format format = ImportedPeople::Format::json;
  std::vector<PersonChange> changes;
  std::vector<SkippedEntry> skipped;
  std::vector<SharedHandle> shared;
  std::size_t total = 0;  // people in the file afterwards
  bool isTrial = false;
  bool madeKey = false;

  std::string text(const OutputStyle& style) const;
};

}  // namespace pellora
