// Where the history in place came from, remembered for the next time: "history.json" among the companion's own
// settings (mode 0600). It names files and counts messages; a password is never in it, only the file that one is read
// from. Tested by Tests/Companion/HistoryTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct HistoryRecord {
  std::filesystem::path source;
  std::string kind;                                   // as sourceName tells it
  std::optional<std::filesystem::path> passwordFile;  // when the password was read from one
  Instant addedAt;
  std::int64_t messages = 0;     // in the store then
  std::int64_t newMessages = 0;  // of these, not there before

  // Absent when there is none or it does not decode.
  static std::optional<HistoryRecord> read(const std::optional<std::filesystem::path>& settings);

  // Throws FileError. Without a folder nothing is kept.
  void write(const std::optional<std::filesystem::path>& settings) const;
};

}  // namespace pellora
