// Each kind of file that the programs write, in two versions, below one root folder: written through the same
// functions as in the programs, and read again.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace pellora::support {

class WrittenFile {
 public:
  enum class Version { older, newer };
  enum class Found { absent, older, newer, other };

  // "people", "notes", "state", "lately", "heartbeat", "defaults", "key", "autostart".
  static const std::vector<std::string>& kinds();

  WrittenFile(std::string kind, std::filesystem::path root) : _kind(std::move(kind)), _root(std::move(root)) {}

  // True when the program would take it for written.
  bool write(Version version) const;

  Found read() const;

  // A key is never replaced, so only its first writing can be disturbed.
  bool isWrittenOnce() const { return _kind == "key"; }

  // What the program does at its next start, and the key's next user.
  void startAgain() const;

  // Paths below the root that are not the file itself, relative.
  std::vector<std::string> leftovers() const;

 private:
  std::string _kind;
  std::filesystem::path _root;
};

}  // namespace pellora::support
