// The user's folders, as the desktop's conventions name them.
#pragma once

#include <filesystem>
#include <optional>

#include "PelloraMessagesCore/Ports/Storage.h"

namespace pellora {

// The user's base folders as the desktop's convention names them. A relative value in the environment counts as
// unset; absent when the home folder is unknown too.
namespace XdgFolders {

std::optional<std::filesystem::path> home();
std::optional<std::filesystem::path> data();     // $XDG_DATA_HOME, ~/.local/share
std::optional<std::filesystem::path> config();   // $XDG_CONFIG_HOME, ~/.config
std::optional<std::filesystem::path> runtime();  // $XDG_RUNTIME_DIR only

}  // namespace XdgFolders

// A folder of this user's for locks and sockets: $XDG_RUNTIME_DIR, or a private one in the user's home when
// $XDG_RUNTIME_DIR is unset or belongs to another user. Never in a place where others could create it first. Absent
// when this user has no folder that nobody else can write. Tested by Tests/Adapters/RuntimeFolderTests.cpp.
namespace RuntimeFolder {

std::optional<std::filesystem::path> path();

// Whether this is a folder of this user's, not a link to one, that nobody else can write.
bool isOwn(const std::filesystem::path& folder);

// The folder "app.pellora.messages" in it, made with mode 0700; absent also when it is not a private one.
std::optional<std::filesystem::path> own();

}  // namespace RuntimeFolder

// The group folder below the user's data folder: $XDG_DATA_HOME (absolute, else ~/.local/share) and the group's
// identifier. Absent when neither XDG_DATA_HOME nor HOME is set.
class XdgGroupContainer : public GroupContainer {
 public:
  std::optional<std::filesystem::path> folder(const std::string& groupIdentifier) const override;
};

}  // namespace pellora
