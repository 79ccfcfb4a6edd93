// What an address book's file holds: the people who can be looked for, and what was left out.
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
  std::vector<std::string> phones;  // as written; after PhoneNumbers::normalise as HelperPerson has them
  std::vector<std::string> emails;  // normalised; of both no repeats
  std::string organization = {};
  std::vector<std::string> remarks = {};  // numbers that were left out, and why

  bool operator==(const ImportedPerson&) const = default;
};

struct ImportedPeople {
  enum class Format { json, csv, vCard, jCard, ldif, several };

  Format format = Format::json;
  std::vector<ImportedPerson> people;  // in the file's order
  std::vector<SkippedEntry> skipped;
  std::vector<std::string> companyPhones;  // of organisations, as written
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

}  // namespace pellora
