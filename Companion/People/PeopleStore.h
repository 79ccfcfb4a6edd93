// The people file as the companion finds it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

struct PeopleStore {
  enum class Kind {
    missing,
    inaccessible,  // it is there, or may be, and the system does not let it be read
    sealed,        // it can be read and does not open: no key, another one, or damaged
    read,
  };

  Kind kind = Kind::missing;
  std::string reason;  // when inaccessible why, a short phrase
  std::optional<HelperPeopleFile> file;

  // Without a key a file that can be read is sealed.
  static PeopleStore find(const CompanionContext& context, const std::optional<ExchangeKey>& key);

  // The kind in one sentence.
  std::string sentence(bool hasKey) const;

  // Everybody in it; nobody when it cannot be read.
  std::vector<HelperPerson> people() const { return file ? file->people : std::vector<HelperPerson>(); }
};

}  // namespace pellora
