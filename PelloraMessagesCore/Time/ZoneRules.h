// The rules of one time zone: the instants at which its clocks changed, and the rule after the last of them. A value,
// immutable. Tested by Tests/Core/ZoneRulesTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "PelloraMessagesCore/Time/PosixZoneRule.h"
#include "PelloraMessagesCore/Time/ZoneStretch.h"

namespace pellora {

class ZoneRules {
 public:
  struct Transition {
    std::int64_t at = 0;
    std::int64_t offset = 0;  // from then on
  };

  // UTC.
  ZoneRules() = default;

  // `transitions` ascending (of several at one instant the last counts), `before` the offset ahead of the first,
  // `after` what holds from the last on; without it the last offset stays.
  ZoneRules(std::int64_t before, std::vector<Transition> transitions, std::optional<PosixZoneRule> after);

  ZoneStretch stretch(std::int64_t seconds) const;

 private:
  std::int64_t _before = 0;
  std::vector<Transition> _transitions;
  std::optional<PosixZoneRule> _after;
};

}  // namespace pellora
