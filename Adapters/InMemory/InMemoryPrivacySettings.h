// Remembers for which databases the privacy settings were shown.
#pragma once

#include <vector>

#include "PelloraMessagesCore/Ports/PrivacySettings.h"

namespace pellora {

class InMemoryPrivacySettings : public PrivacySettings {
 public:
  void show(const std::filesystem::path& database) override { _shown.push_back(database); }

  const std::vector<std::filesystem::path>& shown() const { return _shown; }

 private:
  std::vector<std::filesystem::path> _shown;
};

}  // namespace pellora
