// The helper's heartbeat in words: what the helper does, whether it is fresh and of which version it is.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperHeartbeat.h"

namespace pellora {

std::string heartbeatText(const std::optional<HelperHeartbeat>& heartbeat, const CompanionContext& context);

// The status as the heartbeat's file spells it.
std::string_view statusWord(HelperHeartbeat::Status status);

}  // namespace pellora
