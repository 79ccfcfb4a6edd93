// The lately records that exist, with the names of their people and with what only the day notes know.
// Tested by Tests/Companion/LatelyCommandTests.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"

namespace pellora {

struct NamedLately {
  // Of the person's newest day in the notes.
  struct NewestDay {
    Instant lastMessageAt;
    bool startedByMe = false;
    bool waitingOnYou = false;
  };

  std::optional<std::string> name;  // absent when the person is not in the people file, or has no name there
  MessagesLatelyRecord record;
  std::optional<NewestDay> newestDay;       // absent when the notes do not have it
  std::optional<Instant> isOlderThan = {};  // when the newer record was written that was shown before this one
  bool isForgotten = false;                 // the notes know no day of this person, who is in the people file

  // The name, else the identifier.
  std::string title() const { return name.value_or(record.personID.toString()); }

  // No message in the record's window before `now`: its counts are about another time.
  bool isQuiet(Instant now) const;

  // Since when the person waits for an answer to a question, if they do.
  std::optional<Instant> waitsSince(Instant now) const;
};

struct LatelyStore {
  std::vector<NamedLately> records;  // most recently talked to first
  std::vector<HelperPerson> people;  // of the people file, if it can be read
  std::size_t unreadable = 0;        // files that hold no valid record
  HelperDayNotes notes;              // empty until `addNotes`

  // Throws CompanionFailure when the records cannot be listed; without a folder there are none.
  static LatelyStore read(const CompanionContext& context, const ExchangeKey& key);

  // Brings in the day notes, if they can be read, for output that people read: people who wait for a reply come first,
  // the longest wait before the others, and those who have been quiet come last.
  void addNotes(std::optional<HelperDayNotes> dayNotes, Instant now);

  // How many files may be records, readable or not. Throws as `read` does.
  static std::size_t countFiles(const CompanionContext& context);

  // The record's file, whatever is in it.
  static std::filesystem::path file(const std::filesystem::path& folder, const Uuid& person);

  const NamedLately* find(const Uuid& person) const;
};

}  // namespace pellora

namespace pellora::shown_records {

// Remembers when the newest record of each person was written that a user has seen, so that an old file put back in its
// place is noticed. Sealed in "shown.json" in the companion's settings folder (context "companion-shown"):
// {"UUID": "2026-11-21T12:00:00Z", ...}. Losing it costs the warning, nothing else.
// Tested by Tests/Companion/LatelyCommandTests.cpp.

// Marks the records that are older than one shown before, and remembers the others as shown. A record from the
// future, of a clock that was wrong, counts as written now: the next one must not look old compared with it.
void compare(std::vector<NamedLately>& records, const CompanionContext& context, const ExchangeKey& key);

}  // namespace pellora::shown_records
