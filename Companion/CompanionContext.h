// What the commands work on: the shared folder, the secret store, the time and how to dress the output. Made once
// in the command line; tests make their own. References must outlive it.
#pragma once

#include <filesystem>
#include <optional>

#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/Files/ExchangeKey.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct CompanionContext {
  SecretStore& secrets;
  std::optional<std::filesystem::path> folder;   // shared with the helper
  std::optional<std::filesystem::path> runtime;  // for locks
  Instant now;
  LocalCalendar calendar;
  OutputStyle style;

  // Throws CompanionFailure with the reason when there is none.
  ExchangeKey key() const;
};

}  // namespace pellora
