// The kinds of big news, as they are stored and as the language model is offered them.
#pragma once

#include <array>
#include <string_view>

namespace pellora {

enum class NewsKind { work, home, family, school, travel, health, loss, milestone };

// The names of the kinds in their order.
inline constexpr std::array<std::string_view, 8> kNewsKindNames = {"work",   "home",   "family", "school",
                                                                   "travel", "health", "loss",   "milestone"};

}  // namespace pellora
