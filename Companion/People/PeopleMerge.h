// Imported people put into those that are there already, and the outcome in words.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/Output/OutputStyle.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

// The effect of an import on one person.
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

// An identifier that is always the same for the same text: the first 128 bits of a SHA-256, marked as version 8.
Uuid stableUuid(std::string_view text);

// Puts imported people into the people that are there already. Somebody is the same person when the identifier is
// the same, or the first name (ignoring case and spelling form) together with a number or an address; then the
// identifier stays and name, numbers and addresses become the import's. Entries of one import that are the same
// person are joined. Pure but for the random identifiers of people who come without any.
// Tested by Tests/Companion/PeopleMergeTests.cpp.
struct PeopleMerge {
  // `add` keeps everybody who is there; `replace` keeps the imported people only (with the identifiers they had).
  enum class Mode { add, replace };

  std::vector<HelperPerson> people;   // those that were there in their order, then the new ones
  std::vector<PersonChange> changes;  // one for every imported person, then those who were removed

  static PeopleMerge merge(const std::vector<HelperPerson>& present, const std::vector<ImportedPerson>& imported,
                           Mode mode);
};

// The outcome of an import as `people import` reports it: people taken, entries skipped, and what to watch out for.
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
