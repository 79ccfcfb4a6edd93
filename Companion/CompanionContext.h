// The context of every command (the shared folder, the exchange key, the people file, the time, the look of the output)
// and its result.
// Tested by Tests/Companion/CommandTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

// Whether there is an exchange key, and if not, why.
struct KeyState {
  enum class Kind { found, none, locked, unavailable, damaged };

  Kind kind = Kind::none;
  std::string reason;  // the store's own words, if any
  std::optional<ExchangeKey> key;

  static KeyState find(SecretStore& secrets);

  // Whether there is no keyring to reach, for which the key file would do instead.
  bool lacksKeyring() const;

  // The kind in one word, as scripts get it.
  std::string_view word() const;

  // The kind in one sentence.
  std::string sentence() const;
};

// The result of a command.
struct CommandResult {
  std::string output;     // for standard output, whole lines
  std::string complaint;  // one sentence for standard error when it was not done, else empty
};

// The context of every command. A command is a struct of its options with
// `CommandResult run(const CompanionContext&) const`, which throws CompanionFailure when it cannot do what was asked.
// The context is made once, in the command line; tests make their own. References must outlive it.
struct CompanionContext {
  SecretStore& secrets;
  std::optional<std::filesystem::path> folder;   // shared with the helper
  std::optional<std::filesystem::path> runtime;  // for locks
  Instant now;
  LocalCalendar calendar;
  OutputStyle style;
  std::optional<std::filesystem::path> settings = {};  // what the companion itself remembers
  std::filesystem::path store = {};                    // the Messages store of this user

  // Throws CompanionFailure with the reason when there is none.
  ExchangeKey key() const;
};

// The people file as the companion finds it.
struct PeopleStore {
  enum class Kind {
    missing,
    inaccessible,  // it is there, or may be, and the system does not let it be read
    sealed,        // it can be read and does not open: no key, another one, or damaged
    read,
  };

  Kind kind = Kind::missing;
  std::string reason;  // when inaccessible why, a short phrase
  std::optional<HelperPeopleFile> file;

  // Without a key a file that can be read is sealed.
  static PeopleStore find(const CompanionContext& context, const std::optional<ExchangeKey>& key);

  // The kind in one sentence.
  std::string sentence(bool hasKey) const;

  // Everybody in it; nobody when it cannot be read.
  std::vector<HelperPerson> people() const { return file ? file->people : std::vector<HelperPerson>(); }
};

}  // namespace pellora
