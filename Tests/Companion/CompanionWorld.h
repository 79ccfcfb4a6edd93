// A user's home in a temporary folder with a key in memory, for tests of the companion's commands: people, notes and
// lately records are written as the other programs write them.
#pragma once

#include <string_view>

#include "Adapters/InMemory/InMemoryStorage.h"
#include "Companion/CompanionContext.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/PhoneNumbers.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class CompanionWorld {
 public:
  // 2026-11-21T12:00:00Z, where it is the same day everywhere the tests look.
  static constexpr std::int64_t kNow = 1'795'262'400;
  static constexpr std::int64_t kDay = 86'400;  // seconds

  static const HelperPerson& anna();
  static const HelperPerson& bob();

  // A record of this person with one of everything.
  static MessagesLatelyRecord record(const HelperPerson& person, std::int64_t talkedSecondsAgo);

  CompanionContext context();
  std::filesystem::path shared() const { return _folder / "shared"; }
  InMemorySecretStore& secrets() { return _secrets; }

  ExchangeKey key();  // made at the first call
  void writePeople(std::vector<HelperPerson> people);
  void writeLately(const MessagesLatelyRecord& record);
  void writeNotes(const HelperDayNotes& notes);
  std::vector<HelperPerson> readPeople();

 private:
  TemporaryFolder _folder;
  InMemorySecretStore _secrets;
};

// An address book's file read as an import does it, where no country is known, in tests of the formats.
inline ImportedPeople readPeople(std::string_view bytes, const PhoneNumbers::Hints& hints = {}) {
  ImportedPeople people = parsePeople(bytes);
  PhoneNumbers(hints, people).normalize(people);
  return people;
}

// The sentence of the failure; empty when the command did not fail.
std::string failureOf(const auto& command, const CompanionContext& context) {
  try {
    command.run(context);
  } catch (const CompanionFailure& failure) {
    return failure.what();
  }
  return {};
}

}  // namespace pellora::support
