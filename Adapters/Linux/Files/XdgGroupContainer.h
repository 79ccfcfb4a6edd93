// The group folder below the user's data folder: $XDG_DATA_HOME (absolute, else ~/.local/share) and the group's
// identifier. Absent when neither XDG_DATA_HOME nor HOME is set.
#pragma once

#include "PelloraMessagesCore/Ports/GroupContainer.h"

namespace pellora {

class XdgGroupContainer : public GroupContainer {
 public:
  std::optional<std::filesystem::path> folder(const std::string& groupIdentifier) const override;
};

}  // namespace pellora
