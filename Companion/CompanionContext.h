// The context of every command (the shared folder, the secret store, the time, the look of the output) and its
// result. A command is a struct of its options with `CommandResult run(const CompanionContext&) const`, which
// throws CompanionFailure when it cannot do what was asked. The context is made once, in the command line; tests make
// their own. References must outlive it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct CommandResult {
  std::string output;     // for standard output, whole lines
  std::string complaint;  // one sentence for standard error when it was not done, else empty
};

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

}  // namespace pellora
