// The people file as the companion finds it.
#pragma once

#include <optional>
#include <vector>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperPeopleFile.h"

namespace pellora {

struct PeopleStore {
  enum class Kind { missing, unreadable, read };

  Kind kind = Kind::missing;
  std::optional<HelperPeopleFile> file;

  // Without a key a file that is there is unreadable.
  static PeopleStore find(const CompanionContext& context, const std::optional<ExchangeKey>& key);

  // Everybody in it; nobody when it cannot be read.
  std::vector<HelperPerson> people() const { return file ? file->people : std::vector<HelperPerson>(); }
};

}  // namespace pellora
