// "people.json" in the shared folder: whom to look for, sealed with the context "people", written by the main app
// or the companion. Tested by Tests/Core/HelperPeopleFileTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "PelloraMessagesCore/Files/ExchangeKey.h"
#include "PelloraMessagesCore/HelperPerson.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct HelperPeopleFile {
  Instant writtenAt;  // kept as whole seconds in the file
  std::vector<HelperPerson> people;

  // Absent when the folder is.
  static std::optional<std::filesystem::path> url(const std::optional<std::filesystem::path>& folder);

  // Absent when the file is missing, does not open with this key or does not decode.
  static std::optional<HelperPeopleFile> read(const ExchangeKey& key,
                                              const std::optional<std::filesystem::path>& folder);

  // Throws FileError.
  void write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const;

  bool operator==(const HelperPeopleFile&) const = default;
};

}  // namespace pellora
