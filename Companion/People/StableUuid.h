// An identifier that is always the same for the same text: the first 128 bits of a SHA-256, marked as version 8.
#pragma once

#include <string_view>

#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

Uuid stableUuid(std::string_view text);

}  // namespace pellora
