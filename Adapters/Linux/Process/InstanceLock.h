// Lets one helper at a time serve a shared folder, and one process at a time read into it: two locked files in the
// runtime folder, named for the shared folder. A lock ends with its process, however that ends; the empty file stays.
// Tested by Tests/Adapters/SessionAppInstanceTests.cpp.
#pragma once

#include <filesystem>
#include <optional>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class InstanceLock {
 public:
  // A helper with a tray item holds both, a read from the command line only the second.
  enum class Kind { helper, read };

  // The file that is locked for this shared folder. Absent where there is no place for it.
  static std::optional<std::filesystem::path> file(const std::optional<std::filesystem::path>& sharedFolder, Kind kind);

  // Absent when another process holds the lock. Where no lock file can be made the lock is taken for granted: files
  // are replaced whole, so two helpers cost work, not data.
  static std::optional<InstanceLock> take(const std::optional<std::filesystem::path>& sharedFolder, Kind kind);

  // Whether a process holds the lock now. Looks without taking it: one that starts meanwhile must not find it held.
  static bool isHeld(const std::optional<std::filesystem::path>& sharedFolder, Kind kind);

 private:
  explicit InstanceLock(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}

  FileDescriptor _descriptor;  // not open: none
};

}  // namespace pellora
