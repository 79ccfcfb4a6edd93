// The helper in words: whether it runs, what it does, how far a read is, and what it said last.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Companion/CompanionContext.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/HelperHeartbeat.h"
#include "PelloraMessagesCore/HelperState.h"

namespace pellora {

// `progress` is of a read that may be running; a helper that does not run is not reading.
std::string helperText(platform_adapters::HelperPresence presence, const std::optional<HelperHeartbeat>& heartbeat,
                       const std::optional<ReadProgress>& progress, const CompanionContext& context);

// The status as the heartbeat's file spells it.
std::string_view statusWord(HelperHeartbeat::Status status);

}  // namespace pellora
