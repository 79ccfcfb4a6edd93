#include "PelloraMessagesCore/ZoneRules.h"

#include <algorithm>
#include <limits>
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

std::optional<std::int64_t> ZoneRules::previousTransition(std::int64_t seconds) const {
  const std::int64_t begin = stretch(seconds).begin;
  if (begin == std::numeric_limits<std::int64_t>::min()) return std::nullopt;
  return begin;
}

std::optional<std::int64_t> ZoneRules::nextTransition(std::int64_t seconds) const {
  const std::int64_t end = stretch(seconds).end;
  if (end == std::numeric_limits<std::int64_t>::max()) return std::nullopt;
  return end;
}

}  // namespace pellora
