// The engine's state, as the views show it, and the one line that says it: in the menu, in the window and on the
// command line. Tested by Tests/App/StatusLineTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct HelperEngineState {
  enum class Kind { failed, starting, needsFullDiskAccess, waitingForPellora, reading, idle };

  Kind kind = Kind::starting;
  std::string failure;  // of `failed`: the error's description

  static HelperEngineState failed(std::string description) { return {Kind::failed, std::move(description)}; }

  bool operator==(const HelperEngineState&) const = default;
};

// `lastReadAt` is told relative to `now` and only while idle.
std::string statusLine(const HelperEngineState& state, const std::optional<Instant>& lastReadAt, Instant now,
                       const LocalCalendar& calendar);

}  // namespace pellora
