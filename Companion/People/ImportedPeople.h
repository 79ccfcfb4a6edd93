// What an address book's file holds: the people who can be looked for, and what was left out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/People/ImportedPerson.h"
#include "Companion/People/SkippedEntry.h"

namespace pellora {

struct ImportedPeople {
  enum class Format { json, csv, vCard };

  Format format = Format::json;
  std::vector<ImportedPerson> people;  // in the file's order
  std::vector<SkippedEntry> skipped;
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
  }
  return {};
}

}  // namespace pellora
