#include "PelloraMessagesCore/Files/FileError.h"

#include <cerrno>
#include <system_error>

namespace pellora {

FileError::FileError(const std::string& action, const std::filesystem::path& file, int code)
    : FileError("Couldn't " + action + " " + file.string() + ": " + std::generic_category().message(code), code) {}

FileError FileError::noSuchFile() {
  return FileError("The shared folder isn't available: " + std::generic_category().message(ENOENT), ENOENT);
}

}  // namespace pellora
