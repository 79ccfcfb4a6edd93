// Files that a program with a window reads besides its own: the system's, and those with the user's choices for all
// programs (fonts, themes, icons, colors of the desktop). For confining the reading of the process. Tested by
// Tests/Adapters/ProcessConfinementTests.cpp, and by the desktop tests with the real window.
#pragma once

#include <filesystem>
#include <vector>

namespace pellora {

namespace ReadableFiles {

// Folders and files, whether or not they exist: the system's, those of the libraries that are loaded, of this process
// below /proc, and the ones that the environment names.
std::vector<std::filesystem::path> ofSystem();

// The user's, in the home and configuration folders.
std::vector<std::filesystem::path> ofUser();

}  // namespace ReadableFiles

}  // namespace pellora
