// Locks between processes. Each goes with its process, however that ends, so a crash leaves none behind.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Ports/Storage.h"

namespace pellora {

// An exclusive advisory lock, held while the object lives. Taking it waits at most as long as asked, blocking the
// thread.
class FileLock {
 public:
  // Creates the file (mode 0600) when needed. Absent when it cannot be opened or others hold it all the time, which is
  // the error std::errc::operation_would_block.
  static std::optional<FileLock> onFile(const std::filesystem::path& file, std::chrono::milliseconds patience,
                                        std::error_code& error);
  // Locks the folder itself, which leaves nothing in it.
  static std::optional<FileLock> onFolder(const std::filesystem::path& folder, std::chrono::milliseconds patience);

 private:
  explicit FileLock(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}
  static std::optional<FileLock> take(FileDescriptor descriptor, std::chrono::milliseconds patience,
                                      std::error_code& error);

  FileDescriptor _descriptor;
};

// Lets one helper at a time serve a shared folder, and one process at a time read into it: two locked files in the
// runtime folder, named for the shared folder. The empty files stay. Tested by
// Tests/Adapters/SessionAppInstanceTests.cpp.
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

// The read lock as an advisory lock on the shared folder itself, which leaves nothing in it. Held by another process
// exactly while that one reads. Tested by Tests/Adapters/ReadLockContractTests.cpp.
class FolderReadLock : public ReadLock {
 public:
  explicit FolderReadLock(std::optional<std::filesystem::path> folder) : _folder(std::move(folder)) {}

  std::unique_ptr<HeldReadLock> tryTake() override;

 private:
  std::optional<std::filesystem::path> _folder;
};

}  // namespace pellora
