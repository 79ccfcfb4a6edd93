// The helper's own memory: every kept day record, sealed in "Helper/notes.json" with the context "helper-notes".
// Tested by Tests/Core/HelperDayNotesTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

struct HelperDayNotes {
  std::vector<MessagesDayRecord> days;

  enum class Reread { incremental, full };

  struct Stored;

  // With the mark of their file. Absent when the file is missing, does not open or does not decode. Throws FileError
  // when it is there and cannot be read: nothing is known about its content then.
  static std::optional<Stored> loadStored(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder);

  // As above without the mark; absent also when the file cannot be read.
  static std::optional<HelperDayNotes> loadIfReadable(const ExchangeKey& key,
                                                      const std::optional<std::filesystem::path>& folder);

  // As above, with empty notes for absent ones.
  static HelperDayNotes load(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder);

  // Returns the mark of the new file, which no other file has. Throws FileError.
  std::string save(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const;

  // Takes over the new records, drops days before `cutoffDay` (a day string), days of people who are not current
  // and, after a full reread, days of current people that were not handed in. Returns the people whose days
  // changed. The days end up sorted by their last message, oldest first; equal times keep their order, new days
  // after stored ones. `records` must not be this object's own `days`.
  std::set<Uuid> merge(const std::vector<MessagesDayRecord>& records, Reread reread, const std::string& cutoffDay,
                       const std::set<Uuid>& currentPeople);

  bool operator==(const HelperDayNotes&) const = default;
};

struct HelperDayNotes::Stored {
  HelperDayNotes notes;
  std::string mark;
};

}  // namespace pellora
