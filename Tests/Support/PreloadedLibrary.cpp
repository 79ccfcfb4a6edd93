#include "Tests/Support/PreloadedLibrary.h"

namespace pellora::support {

PreloadedLibrary::PreloadedLibrary(const std::filesystem::path& file) : _name(file.string()) {
  if (_name.find_first_of(" :") == std::string::npos) return;
  _folder.emplace();
  _name = _folder->path() / "library.so";
  std::filesystem::create_symlink(file, _name);
}

}  // namespace pellora::support
