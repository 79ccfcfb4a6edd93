// A stretch of time in which a zone keeps one distance from UTC, and how a zone is asked for the stretch around an
// instant. Everything in whole seconds: instants since 1970 (UTC), offsets positive east of Greenwich.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>

namespace pellora {

struct ZoneStretch {
  // [begin, end); the outermost 64-bit numbers where no change is known before or after.
  std::int64_t begin = std::numeric_limits<std::int64_t>::min();
  std::int64_t end = std::numeric_limits<std::int64_t>::max();
  std::int64_t offset = 0;

  bool contains(std::int64_t seconds) const { return seconds >= begin && seconds < end; }
  bool operator==(const ZoneStretch&) const = default;
};

// The stretch that contains the instant, for any instant. Neighbouring stretches may have the same offset.
using ZoneFinder = std::function<ZoneStretch(std::int64_t seconds)>;

// Offsets lie between these: 25 hours west, 26 hours east, each less a second. No zone ever came near.
constexpr std::int64_t kWesternmostOffset = -89'999;
constexpr std::int64_t kEasternmostOffset = 93'599;

}  // namespace pellora
