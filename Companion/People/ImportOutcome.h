// The outcome of an import as `people import` tells it: people taken, entries skipped, and what to watch out for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Companion/Output/OutputStyle.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/PeopleMerge.h"
#include "Companion/People/StoreHandles.h"

namespace pellora {

struct ImportOutcome {
  ImportedPeople::Format format = ImportedPeople::Format::json;
  std::vector<PersonChange> changes;
  std::vector<SkippedEntry> skipped;
  std::vector<SharedHandle> shared;
  std::size_t total = 0;  // people in the file afterwards
  bool isTrial = false;
  bool madeKey = false;
  std::vector<std::string> countries;    // in which national numbers were read
  std::vector<std::string> remarks;      // numbers left out, with their people
  std::vector<std::string> usedColumns;  // of tables
  std::vector<std::string> unusedColumns;
  std::optional<std::size_t> appearing;  // of the people taken, how many the store knows; absent without a store
  std::vector<std::string> notFound;     // the others

  static ImportOutcome of(ImportedPeople imported, const PeopleMerge& merge,
                          const std::optional<StoreHandles>& handles);

  std::string text(const OutputStyle& style) const;
};

}  // namespace pellora
