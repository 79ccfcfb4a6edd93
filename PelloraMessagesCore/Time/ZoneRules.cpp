#include "PelloraMessagesCore/Time/ZoneRules.h"

#include <algorithm>
#include <utility>

namespace pellora {

ZoneRules::ZoneRules(std::int64_t before, std::vector<Transition> transitions, std::optional<PosixZoneRule> after)
    : _before(before), _transitions(std::move(transitions)), _after(after) {}

ZoneStretch ZoneRules::stretch(std::int64_t seconds) const {
  const auto next = std::upper_bound(_transitions.begin(), _transitions.end(), seconds,
                                     [](std::int64_t at, const Transition& transition) { return at < transition.at; });
  ZoneStretch result;
  if (next == _transitions.end() && _after) {
    result = _after->stretch(seconds);
    if (!_transitions.empty()) result.begin = std::max(result.begin, _transitions.back().at);
    return result;
  }
  if (next != _transitions.end()) result.end = next->at;
  if (next == _transitions.begin()) {
    result.offset = _before;
  } else {
    result.begin = std::prev(next)->at;
    result.offset = std::prev(next)->offset;
  }
  return result;
}

}  // namespace pellora
