// Whether the Messages store can be read and how much is in it. Read-only, and done when the object is made.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace pellora {

struct StoreProbe {
  std::filesystem::path file;
  std::optional<std::int64_t> messages;  // absent when it cannot be read
  std::string reason;                    // then why, a short phrase
  bool isLocked = false;                 // another program holds it for itself

  static StoreProbe of(const std::filesystem::path& file);
};

}  // namespace pellora
