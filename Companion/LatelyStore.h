// The lately records that are there, with the names of their people.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/NamedLately.h"
#include "PelloraMessagesCore/HelperPerson.h"

namespace pellora {

struct LatelyStore {
  std::vector<NamedLately> records;  // most recently talked to first
  std::vector<HelperPerson> people;  // of the people file, if it can be read
  std::size_t unreadable = 0;        // files that hold no valid record

  static LatelyStore read(const CompanionContext& context, const ExchangeKey& key);

  // The record's file, whatever is in it.
  static std::filesystem::path file(const std::filesystem::path& folder, const Uuid& person);

  const NamedLately* find(const Uuid& person) const;
};

}  // namespace pellora
