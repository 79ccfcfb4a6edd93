// People on their way from an address book into the people file.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

// An entry that was not taken, and the reason as a person would put it.
struct SkippedEntry {
  std::string entry;   // a name, or "card 3", "line 7", "item 2"
  std::string reason;  // follows "skipped, ", as in "no phone number or e-mail address"

  bool operator==(const SkippedEntry&) const = default;
};

// Somebody as an address book names them, ready to become a HelperPerson.
struct ImportedPerson {
  std::string entry;                // what the source calls the entry, for messages
  std::string firstName;            // may be empty when the source says so
  std::string uid;                  // the source's own identifier; empty when it has none
  std::vector<std::string> phones;  // as written; after PhoneNumbers::normalize as HelperPerson has them
  std::vector<std::string> emails;  // normalized; of both no repeats
  std::string organization = {};
  std::vector<std::string> remarks = {};  // numbers that were left out, and why

  bool operator==(const ImportedPerson&) const = default;
};

// An address book's people who can be looked for, and what was left out.
struct ImportedPeople {
  enum class Format { json, csv, vCard, jCard, ldif, several };

  Format format = Format::json;
  std::vector<ImportedPerson> people;  // in the file's order
  std::vector<SkippedEntry> skipped;
  std::vector<std::string> companyPhones;  // of organizations, as written
  std::vector<std::string> usedColumns;    // of a table, as its first line names them
  std::vector<std::string> unusedColumns;
  // The people of another file as well.
  void append(ImportedPeople other);

  std::optional<std::string> problem;  // one sentence when the file as a whole cannot be read; then nobody is there
};

constexpr std::string_view formatName(ImportedPeople::Format format) {
  switch (format) {
    case ImportedPeople::Format::json:
      return "JSON";
    case ImportedPeople::Format::csv:
      return "CSV";
    case ImportedPeople::Format::vCard:
      return "vCard";
    case ImportedPeople::Format::jCard:
      return "jCard";
    case ImportedPeople::Format::ldif:
      return "LDIF";
    case ImportedPeople::Format::several:
      return "files";
  }
  return {};
}

// A person in an address book while the entry is read, whatever its format: names, numbers and addresses as they are
// spelled there come in, and an ImportedPerson comes out, or why there is none. Total.
// Tested by Tests/Companion/VCardPeopleTests.cpp and CsvPeopleTests.cpp.
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

// The first name in a full one: titles go, "Lovelace, Ada" and "Lovelace; Ada" are turned, degrees after a comma are no
// names, and names in Chinese, Japanese or Korean writing begin with the family's.
std::string firstNameIn(std::string_view fullName);

}  // namespace pellora
