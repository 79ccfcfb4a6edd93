// A file that is being written and becomes another one by renaming: mode 0600, locked while this lives, so that
// whoever clears leftovers can tell it from one whose writer has died. Removes itself unless it was renamed.
// Functions return false with errno when they fail. Tested by Tests/Core/AtomicFileTests.cpp.
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class TemporaryFile {
 public:
  // In a folder that exists, under a name that no listing takes for a record; null with errno when it fails.
  static std::unique_ptr<TemporaryFile> create(const std::filesystem::path& folder);

  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Whether `create` gives such names.
  static bool isName(std::string_view name);

  // Removes this file of such a name when no writer holds it. Errors are ignored.
  static void removeIfAbandoned(const std::filesystem::path& file);

  bool write(std::string_view bytes);

  // Tells the system to begin bringing the bytes to the disk; sync waits for them.
  void startSync();
  bool sync();

  // What closing would report, before anything depends on it. The file stays open and locked.
  bool checkClose();

  bool renameTo(const std::filesystem::path& target);

 private:
  TemporaryFile(std::filesystem::path path, FileDescriptor descriptor)
      : _path(std::move(path)), _descriptor(std::move(descriptor)) {}

  bool lock();

  std::filesystem::path _path;
  FileDescriptor _descriptor;
  bool _isRenamed = false;
};

}  // namespace pellora
