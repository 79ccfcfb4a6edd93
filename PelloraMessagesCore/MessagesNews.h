// A piece of big news in a person's life, as NewsGuard accepted it.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Instant.h"

namespace pellora {

struct MessagesNews {
  enum class Kind { work, home, family, school, travel, health, loss, milestone };

  // The names of the kinds in their order, as they are stored and as the model is offered them.
  static constexpr std::array<std::string_view, 8> kKindNames = {"work",   "home",   "family", "school",
                                                                 "travel", "health", "loss",   "milestone"};

  std::string sentence;
  Kind kind = Kind::work;
  std::string when;   // words of the message, may be empty
  Instant messageAt;  // the reference date of the analysis

  bool operator==(const MessagesNews&) const = default;
};

}  // namespace pellora
