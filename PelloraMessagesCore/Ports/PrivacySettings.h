// The place where the user lets the helper read the Messages database.
#pragma once

#include <filesystem>

namespace pellora {

class PrivacySettings {
 public:
  virtual ~PrivacySettings() = default;

  // Shows the place to the user. Returns at once and fails without a word.
  virtual void show(const std::filesystem::path& database) = 0;
};

}  // namespace pellora
