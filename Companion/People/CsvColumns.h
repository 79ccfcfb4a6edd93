// Which column of a table holds what, found by the words that address books put into the first line, in several
// languages. Tested by Tests/Companion/CsvPeopleTests.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace pellora {

struct CsvColumns {
  std::optional<std::size_t> firstName;
  std::optional<std::size_t> fullName;
  std::optional<std::size_t> nickname;
  std::optional<std::size_t> organization;
  std::optional<std::size_t> uid;
  std::vector<std::size_t> phones;
  std::vector<std::size_t> emails;

  static CsvColumns find(const std::vector<std::string>& header);

  // How many columns were recognised.
  std::size_t count() const;

  // Whether people can be read out of such a table.
  bool areEnough() const;
};

}  // namespace pellora
