// An exclusive advisory lock between processes, held while the object lives. The lock goes with its process, so a
// crash leaves none behind. Taking it waits at most as long as asked, blocking the thread.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class FileLock {
 public:
  // Creates the file (mode 0600) when needed. Absent when it cannot be opened or others hold it all the time.
  static std::optional<FileLock> onFile(const std::filesystem::path& file, std::chrono::milliseconds patience);
  // Locks the folder itself, which leaves nothing in it.
  static std::optional<FileLock> onFolder(const std::filesystem::path& folder, std::chrono::milliseconds patience);

 private:
  explicit FileLock(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}
  static std::optional<FileLock> take(FileDescriptor descriptor, std::chrono::milliseconds patience);

  FileDescriptor _descriptor;
};

}  // namespace pellora
