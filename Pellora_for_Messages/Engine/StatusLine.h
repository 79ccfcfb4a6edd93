// The one line that says how the helper is doing, in the menu, in the window and on the command line. Shown as it
// stands, in no other language. Tested by Tests/App/StatusLineTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "Pellora_for_Messages/Engine/HelperEngineState.h"

namespace pellora {

// `lastReadAt` is told relative to `now` and only while idle.
std::string statusLine(const HelperEngineState& state, const std::optional<Instant>& lastReadAt, Instant now,
                       const LocalCalendar& calendar);

}  // namespace pellora
