// A folder of this user's for locks and sockets that end with the login: $XDG_RUNTIME_DIR, or a private one below
// /tmp when there is none. Absent when neither is a folder of this user's that nobody else can write.
#pragma once

#include <filesystem>
#include <optional>

namespace pellora {

namespace RuntimeFolder {

std::optional<std::filesystem::path> path();

}  // namespace RuntimeFolder

}  // namespace pellora
