// The lately records that are there, with the names of their people.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/Lately/NamedLately.h"
#include "PelloraMessagesCore/HelperPerson.h"

namespace pellora {

struct LatelyStore {
  std::vector<NamedLately> records;  // most recently talked to first
  std::vector<HelperPerson> people;  // of the people file, if it can be read
  std::size_t unreadable = 0;        // files that hold no valid record

  // Throws CompanionFailure when the records cannot be listed; when there is no folder of them, there are none.
  static LatelyStore read(const CompanionContext& context, const ExchangeKey& key);

  // How many files may be records, readable or not. Throws as `read` does.
  static std::size_t countFiles(const CompanionContext& context);

  // The record's file, whatever is in it.
  static std::filesystem::path file(const std::filesystem::path& folder, const Uuid& person);

  const NamedLately* find(const Uuid& person) const;
};

}  // namespace pellora
