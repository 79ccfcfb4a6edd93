// What an import did to one person.
#pragma once

#include <string_view>

#include "PelloraMessagesCore/HelperPerson.h"

namespace pellora {

struct PersonChange {
  enum class Kind { added, updated, unchanged, removed };

  Kind kind = Kind::unchanged;
  HelperPerson before;  // of an updated, unchanged or removed person
  HelperPerson after;   // of all but a removed one

  const HelperPerson& person() const { return kind == Kind::removed ? before : after; }
};

constexpr std::string_view changeName(PersonChange::Kind kind) {
  switch (kind) {
    case PersonChange::Kind::added:
      return "added";
    case PersonChange::Kind::updated:
      return "updated";
    case PersonChange::Kind::unchanged:
      return "unchanged";
    case PersonChange::Kind::removed:
      return "removed";
  }
  return {};
}

}  // namespace pellora
