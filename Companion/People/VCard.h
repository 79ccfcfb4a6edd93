// One card while it is read: what its properties say about a person.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "Companion/People/ImportedPerson.h"
#include "Companion/People/SkippedEntry.h"
#include "Companion/People/VCardProperty.h"

namespace pellora {

class VCard {
 public:
  void take(const VCardProperty& property);

  // The person, or why the card holds none. `number` counts the file's cards from 1.
  std::variant<ImportedPerson, SkippedEntry> finish(std::size_t number);

 private:
  void takeName(const std::string& text);
  std::string firstName() const;

  ImportedPerson _person;
  std::string _fullName;
  std::string _givenName;
  std::string _familyName;
  std::string _nickname;
  std::string _organization;
  bool _isGroup = false;
  bool _isOrganization = false;
};

}  // namespace pellora
