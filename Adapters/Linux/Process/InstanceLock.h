// Lets one helper at a time work on a shared folder: a locked file in the runtime folder, named for the shared
// folder. The lock ends with the process, however it ends; the empty file stays.
#pragma once

#include <filesystem>
#include <optional>

namespace pellora {

class InstanceLock {
 public:
  // The file that is locked for this shared folder. Absent where there is no place for it.
  static std::optional<std::filesystem::path> file(const std::optional<std::filesystem::path>& sharedFolder);

  // Absent when another process holds the lock. Where no lock file can be made the lock is taken for granted: files
  // are replaced whole, so two helpers cost work, not data.
  static std::optional<InstanceLock> take(const std::optional<std::filesystem::path>& sharedFolder);

  // Whether a process holds it now. Looks without taking it: a helper that starts meanwhile must not find it held.
  static bool isHeld(const std::optional<std::filesystem::path>& sharedFolder);

  InstanceLock(InstanceLock&& other) noexcept;
  InstanceLock& operator=(InstanceLock&&) = delete;
  ~InstanceLock();

 private:
  explicit InstanceLock(int descriptor) : _descriptor(descriptor) {}

  int _descriptor;  // -1: none
};

}  // namespace pellora
