// Where a history comes from: a database file, a folder that holds chat.db, or a phone backup. Brings it into a staged
// store without changing anything of the source. Throws CompanionFailure with one sentence when it cannot.
// Tested by Tests/Companion/HistoryTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Companion/History/PhoneBackup.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

class HistorySource {
 public:
  enum class Kind { database, phoneBackup };
  using Proceed = PhoneBackup::Proceed;

  static HistorySource find(const std::filesystem::path& path);

  Kind kind() const { return _backup ? Kind::phoneBackup : Kind::database; }
  // The path that was given, made absolute.
  const std::filesystem::path& path() const { return _path; }
  const std::filesystem::path& database() const { return _database; }

  bool needsPassword() const { return _backup && _backup->isEncrypted(); }
  void unlock(const SecretBytes& password) { _backup->unlock(password); }

  // Bytes that the copy takes at most.
  std::uintmax_t size() const;

  // Writes the history to `file`, which does not exist, its log merged in. False when it was stopped.
  bool bring(const std::filesystem::path& file, const Proceed& proceed) const;

  // What may be missing in the copy, one sentence; empty when there is no sign of it.
  std::string missing() const;

 private:
  bool copyDatabase(const std::filesystem::path& file, const Proceed& proceed) const;

  std::filesystem::path _path;
  std::filesystem::path _database;
  std::optional<PhoneBackup> _backup;
  bool _lacksLog = false;
  bool _mustBeCopied = false;  // it can only be opened where its log can be written
};

constexpr std::string_view sourceName(HistorySource::Kind kind) {
  switch (kind) {
    case HistorySource::Kind::database:
      return "database";
    case HistorySource::Kind::phoneBackup:
      return "phone backup";
  }
  return {};
}

// Where the history in place came from, remembered for the next time: "history.json" among the companion's own
// settings (mode 0600). It names files and counts messages; a password is never in it, only the file that one is read
// from. Tested by Tests/Companion/HistoryTests.cpp.
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
