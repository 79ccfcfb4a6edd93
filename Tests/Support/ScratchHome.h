// A home folder of its own for real programs: a small Messages store, the key in a file, two people with one chat
// each, and the environment that makes programs use all this and nothing of the real user's.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class ScratchHome {
 public:
  ScratchHome();

  std::map<std::string, std::string> environment() const;
  std::filesystem::path path() const { return _folder.path(); }
  std::filesystem::path shared() const { return _folder.path() / "data/app.pellora.messages"; }
  SmallStore& store() { return *_store; }
  const SmallStore& store() const { return *_store; }
  std::unique_ptr<SmallStore>& ownStore() { return _store; }  // to be closed and opened again
  const ExchangeKey& key() const { return *_key; }
  const HelperPerson& anna() const { return _people[0]; }
  const HelperPerson& ben() const { return _people[1]; }
  std::int64_t annaChat() const { return _annaChat; }
  std::int64_t benChat() const { return _benChat; }

  // A few days of messages of both, the last one an hour ago.
  void addSomeDays();

  // What reads leave, without what tells when it was written.
  struct Records {
    std::vector<MessagesDayRecord> days;
    std::vector<MessagesLatelyRecord> lately;

    bool operator==(const Records&) const = default;
  };
  Records records() const;

  // Takes away everything that reads have left, and the progress.
  void forgetReads();

  // Names of temporary files anywhere below.
  std::vector<std::string> temporaryFiles() const;

 private:
  TemporaryFolder _folder;
  std::unique_ptr<SmallStore> _store;
  std::optional<ExchangeKey> _key;
  std::vector<HelperPerson> _people;
  std::int64_t _annaChat = 0;
  std::int64_t _benChat = 0;
};

}  // namespace pellora::support
