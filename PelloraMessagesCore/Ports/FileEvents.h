// Notice of writes to one file. One commit may give several events; nothing is promised about their number.
// Handlers are called on the main thread.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

namespace pellora {

// An armed watch; destroying it ends the watching.
class FileWatch {
 public:
  virtual ~FileWatch() = default;
};

class FileEvents {
 public:
  virtual ~FileEvents() = default;

  // Watches the file itself (not its name) for being written or extended. Null when it cannot be watched.
  virtual std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) = 0;
};

}  // namespace pellora
