// The basis of one read: its time, the people, the calendar, and what earlier reads left behind. Used by one thread at
// a time. Tested by Tests/App/HelperEngineReadTests.cpp and ReadHistoryTests.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Ports/Storage.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

// The engine's user-defaults keys and the version of the day notes' format. Raising the version makes the next
// read of every installation rebuild the notes from nothing.
namespace pellora::HelperEngineKeys {

inline constexpr char kLastRow[] = "messages.lastRowID";
inline constexpr char kPeople[] = "messages.peopleFingerprint";
inline constexpr char kLastRead[] = "messages.lastReadAt";
inline constexpr char kNotesVersion[] = "messages.notesVersion";
inline constexpr char kNotesMark[] = "messages.notesMark";  // of the notes file that the progress belongs to
inline constexpr char kLoginChoice[] = "messages.loginItemDecided";

inline constexpr std::int64_t kCurrentNotesVersion = 9;

}  // namespace pellora::HelperEngineKeys

namespace pellora {

// A short text that changes whenever the people file's people, numbers or addresses do: 64-bit FNV-1a over them in
// file order, in lower-case hexadecimal without leading zeros. Not for security. Tested by
// Tests/App/PeopleFingerprintTests.cpp.
std::string peopleFingerprint(const std::vector<HelperPerson>& people);

// The same of their first names, on which birthdays and sentences depend, and which the other one leaves out.
std::string namesFingerprint(const std::vector<HelperPerson>& people);

// Made at the start of a read and not changed afterwards.
struct ReadContext {
  static constexpr std::chrono::seconds kReadWindow{2'592'000};  // 30 days of 86,400 s
  static constexpr std::int64_t kWindowDays = 30;

  ReadContext(Instant now, ExchangeKey key, std::vector<HelperPerson> people, LocalCalendar calendar);

  // Empty for a person who is not in the list.
  std::string firstNameOf(const Uuid& person) const;

  // What tells calendars apart whose days around `at` begin at other moments.
  std::string zoneMark(Instant at) const;

  Instant now;
  ExchangeKey key;
  std::vector<HelperPerson> people;
  LocalCalendar calendar;
  HandleMatcher matcher;
  std::string fingerprint;  // of the people
  std::string names;        // fingerprint of their names
  Instant windowStart;
  std::string cutoffDay;  // of the window's start
  std::optional<std::filesystem::path> folder{};
  std::filesystem::path chatDatabase{};
  std::stop_token stop{};  // requested when nobody waits for the read any more
};

// The progress keys of the settings.
struct ReadSettings {
  explicit ReadSettings(const UserDefaults& defaults);

  std::int64_t lastRowID = 0;  // 0 before the first read
  std::optional<std::string> fingerprint;
  std::optional<Instant> lastReadAt;
  std::optional<std::string> notesMark;  // of the notes file that the last read left
  bool areNotesCurrent = false;          // the notes are of the version that this program writes
};

// The memory of earlier reads.
struct ReadMemory {
  // Blocks. A request to read again is taken over into the state. Throws FileError when the notes are there and cannot
  // be read.
  static ReadMemory load(const ReadContext& context, const ReadSettings& settings);

  ReadSettings settings;
  std::optional<HelperDayNotes::Stored> stored;  // absent under another notes version and when they do not open
  HelperState state;
  bool isStateLost = false;  // there was none that could be read
};

}  // namespace pellora
