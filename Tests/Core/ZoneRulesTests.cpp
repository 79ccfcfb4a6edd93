#include <gtest/gtest.h>

#include <limits>

#include "PelloraMessagesCore/Time/ZoneRules.h"

namespace pellora {
namespace {

constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

TEST(ZoneRules, WithoutAnythingAreUtc) {
  const ZoneRules rules;
  EXPECT_EQ(rules.stretch(0), (ZoneStretch{kSmallest, kLargest, 0}));
}

TEST(ZoneRules, StretchesLieBetweenTransitions) {
  const ZoneRules rules(10, {{-100, 20}, {0, 30}, {0, 40}, {100, 50}}, std::nullopt);
  struct Case {
    std::int64_t seconds;
    ZoneStretch stretch;
  };
  const std::vector<Case> cases = {
      {kSmallest, {kSmallest, -100, 10}},
      {-101, {kSmallest, -100, 10}},
      {-100, {-100, 0, 20}},
      {-1, {-100, 0, 20}},
      {0, {0, 100, 40}},
      {99, {0, 100, 40}},
      {100, {100, kLargest, 50}},
      {1'000, {100, kLargest, 50}},
  };
  for (const Case& each : cases) EXPECT_EQ(rules.stretch(each.seconds), each.stretch) << each.seconds;
}

TEST(ZoneRules, TheRuleHoldsFromTheLastTransitionOn) {
  const std::int64_t last = 1'780'000'000;  // 2026-05-28
  const std::int64_t autumn = 1'792'890'000;
  const ZoneRules rules(0, {{0, 1}, {last, 2}}, PosixZoneRule::parse("CET-1CEST,M3.5.0,M10.5.0/3"));
  EXPECT_EQ(rules.stretch(last - 1), (ZoneStretch{0, last, 1}));
  EXPECT_EQ(rules.stretch(last), (ZoneStretch{last, autumn, 7'200}));
  EXPECT_EQ(rules.stretch(autumn).begin, autumn);
  EXPECT_EQ(rules.stretch(autumn).offset, 3'600);
  const ZoneRules alone(0, {}, PosixZoneRule::parse("CET-1CEST,M3.5.0,M10.5.0/3"));
  EXPECT_EQ(alone.stretch(last).offset, 7'200);
  EXPECT_EQ(alone.stretch(0).offset, 3'600);
}

}  // namespace
}  // namespace pellora
