// A file or folder could not be created, written or synced. The text is one sentence for a person: what was
// being done, to which file, and the system's reason.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace pellora {

class FileError : public std::runtime_error {
 public:
  // `action` reads like "write"; `code` is an errno value.
  FileError(const std::string& action, const std::filesystem::path& file, int code);

  // The error of every write when there is no folder to write into.
  static FileError noSuchFile();

  int code() const { return _code; }

 private:
  FileError(const std::string& sentence, int code) : std::runtime_error(sentence), _code(code) {}

  int _code;
};

}  // namespace pellora
