#include "TemporaryFolder.h"

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>

namespace pellora::support {

TemporaryFolder::TemporaryFolder() {
  static std::atomic<int> counter = 0;
  const std::string prefix = "pellora-test-" + std::to_string(getpid()) + "-";
  do {
    _path = std::filesystem::temp_directory_path() / (prefix + std::to_string(++counter));
  } while (!std::filesystem::create_directory(_path));
  std::filesystem::permissions(_path, std::filesystem::perms::owner_all);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  for (std::filesystem::recursive_directory_iterator entry(_path, ignored), end; entry != end; entry.increment(ignored))
    if (entry->is_directory(ignored) && !entry->is_symlink(ignored))
      std::filesystem::permissions(entry->path(), std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(_path, ignored);
}

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace pellora::support
