// Days that the language model has answered for in a read that is not finished: kept sealed in
// "Helper/analysed.json" (context "helper-notes") as they come, so that an interrupted first read loses no work.
// The file names the notes version and is ignored under another one; it goes when the read's progress is stored.
// Tested by Tests/Core/AnalysedDaysTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "PelloraMessagesCore/Files/ExchangeKey.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

struct AnalysedDays {
  std::int64_t notesVersion = 0;
  std::vector<MessagesDayRecord> days;

  // Empty when the file is missing, does not open, does not decode or has another notes version.
  static AnalysedDays load(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder,
                           std::int64_t notesVersion);

  // Throws FileError.
  void save(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const;

  // Errors are ignored: a file that stays is only read again.
  static void remove(const std::optional<std::filesystem::path>& folder);

  bool operator==(const AnalysedDays&) const = default;
};

}  // namespace pellora
