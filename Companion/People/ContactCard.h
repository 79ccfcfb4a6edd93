// Somebody in an address book while the entry is read, whatever its format: names, numbers and addresses as they are
// spelled there come in, and an ImportedPerson comes out, or why there is none. Total.
// Tested by Tests/Companion/VCardPeopleTests.cpp and CsvPeopleTests.cpp.
#pragma once

#include <string>
#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

class ContactCard {
 public:
  // The parts of a name in columns or properties of their own. The first that is not empty counts.
  void setGivenName(std::string name) { setOnce(_givenName, std::move(name)); }
  void setFamilyName(std::string name) { setOnce(_familyName, std::move(name)); }
  void setFullName(std::string name) { setOnce(_fullName, std::move(name)); }
  void setNickname(std::string name) { setOnce(_nickname, std::move(name)); }
  void setOrganization(std::string name) { setOnce(_organization, std::move(name)); }
  void setUid(std::string uid) { setOnce(_person.uid, std::move(uid)); }

  bool hasName() const { return !_givenName.empty() || !_familyName.empty(); }

  // One or several numbers: "tel:" in front falls away; an address in a number's place is taken as one. A number that
  // a spreadsheet has rounded is refused with a word.
  void addPhones(std::string_view text);

  // A company's main number belongs to nobody.
  void addCompanyPhone(std::string_view text);

  // "mailto:" in front falls away, of "Anna <anna@example.org>" what is inside; what has no "@" is dropped.
  void addEmail(std::string_view text);

  enum class Kind { person, organization, group };
  void setKind(Kind kind) { _kind = kind; }

  // `place` names an entry without a name, as in "card 3". Puts the outcome where it belongs. Our own lists may hold
  // people without a name.
  enum class Name { needed, optional };
  void finish(const std::string& place, ImportedPeople& result, Name name = Name::needed);
  // The same for an entry that cannot be taken for this reason.
  void skip(const std::string& place, std::string reason, ImportedPeople& result);

 private:
  static void setOnce(std::string& field, std::string value) {
    if (field.empty()) field = std::move(value);
  }
  void addPhone(std::string_view text);
  std::string firstName() const;
  std::string entryName(const std::string& place) const;

  ImportedPerson _person;
  std::string _fullName;
  std::string _givenName;
  std::string _familyName;
  std::string _nickname;
  std::string _organization;
  Kind _kind = Kind::person;
};

// The first name in a full one: titles go, "Lovelace, Ada" is turned, degrees behind a comma are none, and names in
// Chinese, Japanese or Korean writing begin with the family's.
std::string firstNameIn(std::string_view fullName);

}  // namespace pellora
