// A user's home in a temporary folder with a key in memory, for tests of the companion's commands: people, notes and
// lately records are written as the other programs write them.
#pragma once

#include "Adapters/InMemory/InMemorySecretStore.h"
#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperPerson.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class CompanionWorld {
 public:
  // 2026-11-21T12:00:00Z, where it is the same day everywhere the tests look.
  static constexpr std::int64_t kNow = 1'795'262'400;

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

}  // namespace pellora::support
