// The user's base folders as the desktop's convention names them. A relative value in the environment counts as
// unset; absent when the home folder is unknown too.
#pragma once

#include <filesystem>
#include <optional>

namespace pellora {

namespace XdgFolders {

std::optional<std::filesystem::path> home();
std::optional<std::filesystem::path> data();     // $XDG_DATA_HOME, ~/.local/share
std::optional<std::filesystem::path> config();   // $XDG_CONFIG_HOME, ~/.config
std::optional<std::filesystem::path> runtime();  // $XDG_RUNTIME_DIR only

}  // namespace XdgFolders

}  // namespace pellora
