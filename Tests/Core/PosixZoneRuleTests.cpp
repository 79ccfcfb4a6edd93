#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Time/PosixZoneRule.h"

namespace pellora {
namespace {

constexpr std::int64_t kHour = 3'600;
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

std::int64_t utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
  const auto days = std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
  return days.time_since_epoch().count() * 86'400LL + hour * kHour + minute * 60;
}

TEST(PosixZoneRule, OffsetsWithoutDaylightSavingTimeHoldForEver) {
  const std::vector<std::pair<const char*, std::int64_t>> cases = {
      {"UTC0", 0},
      {"GMT+3", -3 * kHour},
      {"GMT-3", 3 * kHour},
      {"JST-9", 9 * kHour},
      {"IST-5:30", 5 * kHour + 1'800},
      {"<+0530>-5:30", 5 * kHour + 1'800},
      {"<-03>3", -3 * kHour},
      {"LMT-0:53:28", 3'208},
      {"ABC24:59:59", kWesternmostOffset},
      {"ABC-31:99:99", -kWesternmostOffset},
  };
  for (const auto& [text, offset] : cases) {
    const auto rule = PosixZoneRule::parse(text);
    ASSERT_TRUE(rule) << text;
    for (const std::int64_t seconds : {kSmallest, std::int64_t{0}, kLargest})
      EXPECT_EQ(rule->stretch(seconds), (ZoneStretch{kSmallest, kLargest, offset})) << text;
  }
}

TEST(PosixZoneRule, WhatIsNoRuleIsAbsent) {
  for (const char* text : {"",
                           "UTC",
                           "AB5",
                           "5",
                           "ABC+",
                           "ABC5:",
                           "ABC5:x",
                           "ABC5:30:",
                           " ABC5",
                           "ABC5 ",
                           "<AB>5",
                           "<ABC5",
                           "<A C>5",
                           "Nowhere/Atlantis",
                           "ABC5DE",
                           "ABC5DEF+",
                           "ABC5DEF/3",
                           "ABC5DEF,,",
                           "ABC5DEF,M3.2.0/,M11.1.0",
                           "ABC5DEF,M3.2.0/168,M11.1.0",
                           "ABC5DEF,M3.2.0/2:,M11.1.0",
                           "ABC5DEF,M0.2.0,M11.1.0",
                           "ABC5DEF,M13.2.0,M11.1.0",
                           "ABC5DEF,M3.0.0,M11.1.0",
                           "ABC5DEF,M3.6.0,M11.1.0",
                           "ABC5DEF,M3.2.7,M11.1.0",
                           "ABC5DEF,M3.2,M11.1.0",
                           "ABC5DEF,M3.2.0x,M11.1.0",
                           "ABC5DEF,J0,M11.1.0",
                           "ABC5DEF,J366,M11.1.0",
                           "ABC5DEF,366,M11.1.0",
                           "ABC5DEF,99999999999999999999,M11.1.0",
                           "ABC5DEF,K3,M11.1.0"})
    EXPECT_FALSE(PosixZoneRule::parse(text)) << '"' << text << '"';
  EXPECT_FALSE(PosixZoneRule::parse(std::string("ABC5\0", 5)));
}

TEST(PosixZoneRule, StretchesBeginAndEndWhereClocksChange) {
  struct Case {
    const char* text;
    std::int64_t instant;
    ZoneStretch stretch;
  };
  const std::vector<Case> cases = {
      {"CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 7, 1), {utc(2026, 3, 29, 1), utc(2026, 10, 25, 1), 2 * kHour}},
      {"CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 3, 29, 1) - 1, {utc(2025, 10, 26, 1), utc(2026, 3, 29, 1), kHour}},
      {"CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 10, 25, 1), {utc(2026, 10, 25, 1), utc(2027, 3, 28, 1), kHour}},
      {"NZST-12NZDT,M9.5.0,M4.1.0/3", utc(2026, 1, 1), {utc(2025, 9, 27, 14), utc(2026, 4, 4, 14), 13 * kHour}},
      {"EST5EDT", utc(2026, 7, 1), {utc(2026, 3, 8, 7), utc(2026, 11, 1, 6), -4 * kHour}},
      {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0", utc(2026, 7, 1), {utc(2026, 3, 29, 1), utc(2026, 10, 25, 1), -kHour}},
      {"AAA0BBB,J60/0,J61/0", utc(2028, 3, 1), {utc(2028, 3, 1), utc(2028, 3, 1, 23), kHour}},
      {"AAA0BBB,59/0,60/0", utc(2028, 2, 29), {utc(2028, 2, 29), utc(2028, 2, 29, 23), kHour}},
      // Both changes of a year lie in the next one.
      {"AAA0BBB,J364/167,J365/167", utc(2026, 1, 1), {utc(2025, 1, 6, 22), utc(2026, 1, 5, 23), 0}},
      {"AAA0BBB,J364/167,J365/167", utc(2026, 1, 6), {utc(2026, 1, 5, 23), utc(2026, 1, 6, 22), kHour}},
  };
  for (const Case& each : cases) {
    const auto rule = PosixZoneRule::parse(each.text);
    ASSERT_TRUE(rule) << each.text;
    EXPECT_EQ(rule->stretch(each.instant), each.stretch) << each.text << " " << each.instant;
  }
}

TEST(PosixZoneRule, DaylightSavingTimeMayLastAllTheYearOrNoTime) {
  const auto always = PosixZoneRule::parse("EST5EDT,0/0,J365/25");
  const auto never = PosixZoneRule::parse("EST5EDT,M3.2.0/2,M3.2.0/3");
  ASSERT_TRUE(always && never);
  for (std::int64_t seconds = utc(2026, 12, 31); seconds < utc(2027, 1, 2); seconds += 900) {
    EXPECT_EQ(always->stretch(seconds).offset, -4 * kHour) << seconds;
    EXPECT_EQ(never->stretch(seconds).offset, -5 * kHour) << seconds;
  }
  EXPECT_EQ(never->stretch(utc(2026, 3, 8, 7)).offset, -5 * kHour);
}

TEST(PosixZoneRule, InstantsFarOutsideHaveStandardTime) {
  const auto rule = PosixZoneRule::parse("NZST-12NZDT,M9.5.0,M4.1.0/3");
  ASSERT_TRUE(rule);
  for (const std::int64_t seconds : {kSmallest, -utc(29'000, 1, 1), utc(29'000, 1, 1), kLargest - 1}) {
    EXPECT_EQ(rule->stretch(seconds).offset, 12 * kHour) << seconds;
    EXPECT_TRUE(rule->stretch(seconds).contains(seconds)) << seconds;
  }
  EXPECT_EQ(rule->stretch(utc(-10'000, 1, 15)).offset, 12 * kHour);
  EXPECT_EQ(rule->stretch(utc(-9'999, 1, 15)).offset, 13 * kHour);
  EXPECT_EQ(rule->stretch(utc(-9'999, 1, 15)).begin, utc(-9'999, 1, 1));
  EXPECT_EQ(rule->stretch(utc(19'999, 12, 15)).offset, 13 * kHour);
  EXPECT_EQ(rule->stretch(utc(19'999, 12, 15)).end, utc(20'000, 1, 1));
  EXPECT_EQ(rule->stretch(utc(20'000, 1, 15)).offset, 12 * kHour);
}

}  // namespace
}  // namespace pellora
