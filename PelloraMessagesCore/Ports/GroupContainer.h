// Where the folder lies that the two apps share.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace pellora {

class GroupContainer {
 public:
  virtual ~GroupContainer() = default;

  // The folder of this group, which need not exist yet; absent when the platform has none to give.
  virtual std::optional<std::filesystem::path> folder(const std::string& groupIdentifier) const = 0;
};

}  // namespace pellora
