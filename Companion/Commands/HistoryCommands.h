// `history add`, `history refresh` and `history status`: bring a Messages history onto this device, keep it fresh, and
// say what is there. The store in place is replaced whole or not at all; a running helper is asked to read afterwards.
// Tested by Tests/Companion/HistoryTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "Companion/CompanionContext.h"

namespace pellora {

struct HistoryAddCommand {
  std::string source;                       // a database, a folder with chat.db, or a phone backup
  std::optional<std::string> passwordFile;  // whose first line is the password of an encrypted backup
  bool replaces = false;                    // also a store with newer messages
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// Does the last `add` again.
struct HistoryRefreshCommand {
  std::optional<std::string> passwordFile;  // absent: the one of `add`
  bool replaces = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct HistoryStatusCommand {
  bool json = false;

  // Complains when there is no history that can be read.
  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
