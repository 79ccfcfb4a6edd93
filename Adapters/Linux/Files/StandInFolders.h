// Folders that can take the place of one that was removed or replaced while a confined process runs: its rules name the
// very folder that was there at the start, not the path. So some empty folders are made beforehand, hidden next to it
// and named in the rules as well; when the path leads to another folder, a process that is not confined moves that
// folder's content into the next of them and puts it in place. Nothing of the content is lost on the way.
// Tested by Tests/Adapters/StandInFoldersTests.cpp.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class StandInFolders {
 public:
  static constexpr int kCount = 4;  // how often the folder can be replaced

  // Makes the folder, if it is missing, and those that stand in for it; removes those that a killed process left. Where
  // they can't be made there are none.
  explicit StandInFolders(std::filesystem::path folder);

  // The paths that the rules must name besides the folder.
  const std::vector<std::filesystem::path>& paths() const { return _standIns; }

  // Whether the path leads to the folder that was there at the start, or to one that stands in for it.
  bool isInPlace() const;
  // Puts the next one in place, with the content of what is there. True when isInPlace() afterwards.
  bool putInPlace();
  // Removes those that are left.
  void remove();

 private:
  // Held open, so that no other folder gets its number.
  struct Known {
    FileDescriptor descriptor;
    dev_t device = 0;
    ino_t inode = 0;
  };

  void know(const std::filesystem::path& folder);

  std::filesystem::path _folder;
  std::filesystem::path _hiddenFolder;  // one per process
  std::vector<std::filesystem::path> _standIns;
  std::vector<Known> _known;
};

}  // namespace pellora
