// "heartbeat.json" in the shared folder: the helper's status for the main app, the one file that is not sealed.
// Tested by Tests/Core/HelperHeartbeatTests.cpp.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct HelperHeartbeat {
  enum class Status { reading, needsFullDiskAccess, waitingForPellora, failed };

  // A heartbeat that is this old is no longer fresh.
  static constexpr std::chrono::seconds kFreshFor{2400};

  Instant at;
  Status status = Status::reading;
  std::optional<Instant> lastReadAt;
  std::string helperVersion;

  static std::optional<std::filesystem::path> url(const std::optional<std::filesystem::path>& folder);

  // Absent when the file is missing or does not decode.
  static std::optional<HelperHeartbeat> read(const std::optional<std::filesystem::path>& folder);

  // Throws FileError.
  void write(const std::optional<std::filesystem::path>& folder) const;

  // A heartbeat from the future is fresh.
  bool isFresh(Instant now) const;

  bool operator==(const HelperHeartbeat&) const = default;
};

}  // namespace pellora
