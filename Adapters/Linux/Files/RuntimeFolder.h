// A folder of this user's for locks and sockets: $XDG_RUNTIME_DIR, or a private one in the user's home when there is
// none or it is somebody else's; never one in a place where others could make it first. Absent when there is no folder
// of this user's that nobody else can write. Tested by Tests/Adapters/RuntimeFolderTests.cpp.
#pragma once

#include <filesystem>
#include <optional>

namespace pellora {

namespace RuntimeFolder {

std::optional<std::filesystem::path> path();

// Whether this is a folder of this user's, not a link to one, that nobody else can write.
bool isOwn(const std::filesystem::path& folder);

// The folder "app.pellora.messages" in it, made with mode 0700; absent also when it is not a private one.
std::optional<std::filesystem::path> own();

}  // namespace RuntimeFolder

}  // namespace pellora
