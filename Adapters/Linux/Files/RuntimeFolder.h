// A folder of this user's for locks and sockets that end with the login: $XDG_RUNTIME_DIR, or a private one below
// /tmp when there is none. Absent when neither is a folder of this user's that nobody else can write.
#pragma once

#include <filesystem>
#include <optional>

namespace pellora {

namespace RuntimeFolder {

std::optional<std::filesystem::path> path();

// The folder "app.pellora.messages" in it, made with mode 0700; absent also when it is not a private one.
std::optional<std::filesystem::path> own();

}  // namespace RuntimeFolder

}  // namespace pellora
