// The read lock as an advisory lock on the shared folder itself, which leaves nothing in it. Held by another process
// exactly while that one reads. Tested by Tests/Adapters/ReadLockContractTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <utility>

#include "PelloraMessagesCore/Ports/GroupContainer.h"

namespace pellora {

class FolderReadLock : public ReadLock {
 public:
  explicit FolderReadLock(std::optional<std::filesystem::path> folder) : _folder(std::move(folder)) {}

  std::unique_ptr<HeldReadLock> tryTake() override;

 private:
  std::optional<std::filesystem::path> _folder;
};

}  // namespace pellora
