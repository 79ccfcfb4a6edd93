// What the process keeps when it gives up the rest.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace pellora {

struct ConfinementPlan {
  // Below these everything may be written; they are made (mode 0700) when missing, so that they can be named.
  std::vector<std::filesystem::path> writableFolders;
  // The Messages store. It stays read-only; SQLite may make the files that a reader needs beside it, and write the
  // index of its log when that is there at the start. An index made later is read without writing.
  std::filesystem::path store;
  // The port of a model server on the loopback interface; absent: no internet sockets at all.
  std::optional<std::uint16_t> modelPort;
  // The display or the bus is reached over TCP, so sockets cannot be given up.
  bool needsInternetSockets = false;
};

}  // namespace pellora
