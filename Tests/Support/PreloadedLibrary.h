// A library to preload into a program. The dynamic linker splits the names in LD_PRELOAD at spaces and colons; a
// library in a folder with one of them is therefore named by a link, which exists as long as the object.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class PreloadedLibrary {
 public:
  explicit PreloadedLibrary(const std::filesystem::path& file);

  // The value for LD_PRELOAD.
  std::string name() const { return _name; }

 private:
  std::optional<TemporaryFolder> _folder;  // of the link
  std::string _name;
};

}  // namespace pellora::support
