// A fresh, empty folder (mode 0700) for one test, removed with everything in it at the end.
#pragma once

#include <filesystem>
#include <string>

namespace pellora::support {

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return _path; }
  std::filesystem::path operator/(const std::string& name) const { return _path / name; }

 private:
  std::filesystem::path _path;
};

// All bytes of a file; empty when it cannot be read.
std::string contentOf(const std::filesystem::path& file);

}  // namespace pellora::support
