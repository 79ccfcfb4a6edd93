// The people whom Pellora asks the helper to look for, and the sealed file that names them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/Text/Uuid.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// One person that Pellora asks the helper to look for.
struct HelperPerson {
  Uuid id;
  std::string firstName;            // may be empty
  std::vector<std::string> phones;  // as ContactNormalization::phone writes them
  std::vector<std::string> emails;  // as ContactNormalization::email writes them

  bool operator==(const HelperPerson&) const = default;
};

// "people.json" in the shared folder: whom to look for, sealed with the context "people", written by the main app
// or the companion. Tested by Tests/Core/HelperPeopleFileTests.cpp.
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
