// A group folder that a test chooses, or none.
#pragma once

#include "PelloraMessagesCore/Ports/GroupContainer.h"

namespace pellora {

class FixedGroupContainer : public GroupContainer {
 public:
  explicit FixedGroupContainer(std::optional<std::filesystem::path> folder) : _folder(std::move(folder)) {}

  std::optional<std::filesystem::path> folder(const std::string&) const override { return _folder; }

 private:
  std::optional<std::filesystem::path> _folder;
};

}  // namespace pellora
