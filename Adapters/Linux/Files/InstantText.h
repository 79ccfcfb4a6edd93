// Instants as text with all their nanoseconds: "2026-11-21T04:29:00.123456789Z", the fraction left out when it is
// zero. Read with "Z" or an offset and one to nine digits of fraction. Years 1 to 9999; others are written as the
// nearest instant inside them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::InstantText {

std::string format(Instant instant);
std::optional<Instant> parse(std::string_view text);

}  // namespace pellora::InstantText
