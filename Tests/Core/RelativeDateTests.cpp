#include <gtest/gtest.h>

#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3'600;
constexpr std::int64_t kDay = 86'400;
// Saturday 2026-11-21 12:00:00 UTC.
const Instant kNow = instantAtSeconds(1'795'262'400);

std::string inUtc(Instant date, std::string_view locale = "en_US") {
  return RelativeDate::text(date, kNow, LocalCalendar::inTimeZone("UTC"), locale);
}

TEST(RelativeDate, TellsHowLongAgo) {
  struct Case {
    std::int64_t secondsAgo;
    const char* text;
  };
  const std::vector<Case> cases = {
      {0, "now"},
      {1, "1 second ago"},
      {30, "30 seconds ago"},
      {59, "59 seconds ago"},
      {60, "1 minute ago"},
      {89, "1 minute ago"},
      {90, "2 minutes ago"},
      {5 * kMinute, "5 minutes ago"},
      {59 * kMinute + 29, "59 minutes ago"},
      {59 * kMinute + 30, "60 minutes ago"},
      {kHour, "1 hour ago"},
      {kHour + 29 * kMinute + 59, "1 hour ago"},
      {kHour + 30 * kMinute, "2 hours ago"},
      {23 * kHour, "23 hours ago"},
      {23 * kHour + 59 * kMinute, "24 hours ago"},
      {kDay, "yesterday"},
      {kDay + 12 * kHour, "yesterday"},
      {kDay + 12 * kHour + 1, "2 days ago"},
      {2 * kDay, "2 days ago"},
      {6 * kDay, "6 days ago"},
      {7 * kDay - 1, "7 days ago"},
      {7 * kDay, "last week"},
      {13 * kDay, "last week"},
      {14 * kDay, "2 weeks ago"},
      {30 * kDay, "4 weeks ago"},
      {31 * kDay, "last month"},
      {61 * kDay, "2 months ago"},
      {330 * kDay, "11 months ago"},
      {365 * kDay, "last year"},
      {731 * kDay, "2 years ago"},
      {20 * 365 * kDay, "20 years ago"},
      {-1, "in 1 second"},
      {-45, "in 45 seconds"},
      {-90, "in 2 minutes"},
      {-5 * kMinute, "in 5 minutes"},
      {-3 * kHour, "in 3 hours"},
      {-kDay, "tomorrow"},
      {-2 * kDay, "in 2 days"},
      {-7 * kDay, "next week"},
      {-30 * kDay, "next month"},
      {-365 * kDay, "next year"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(inUtc(kNow - std::chrono::seconds(each.secondsAgo)), each.text) << each.secondsAgo;
}

TEST(RelativeDate, RoundsToWholeSecondsFirst) {
  const auto milliseconds = [](int count) { return Nanoseconds(static_cast<Int128>(count) * 1'000'000); };
  EXPECT_EQ(inUtc(kNow - milliseconds(499)), "now");
  EXPECT_EQ(inUtc(kNow - milliseconds(500)), "1 second ago");
  EXPECT_EQ(inUtc(kNow - milliseconds(29'400)), "29 seconds ago");
  EXPECT_EQ(inUtc(kNow - milliseconds(29'600)), "30 seconds ago");
  EXPECT_EQ(inUtc(kNow - milliseconds(59'400)), "59 seconds ago");
  EXPECT_EQ(inUtc(kNow - milliseconds(59'600)), "1 minute ago");
  EXPECT_EQ(inUtc(kNow + milliseconds(499)), "now");
  EXPECT_EQ(inUtc(kNow + milliseconds(500)), "in 1 second");
}

TEST(RelativeDate, DaysAreThoseOfTheCalendar) {
  const LocalCalendar newYork = LocalCalendar::inTimeZone("America/New_York");
  const std::int64_t spring = 1'772'985'600;  // 2026-03-08 12:00 there, the day of 23 hours
  const std::int64_t autumn = 1'793'552'400;  // 2026-11-01 12:00 there, the day of 25 hours
  const auto ago = [&](std::int64_t now, std::int64_t seconds) {
    return RelativeDate::text(instantAtSeconds(now - seconds), instantAtSeconds(now), newYork, "en_US");
  };
  EXPECT_EQ(ago(spring, 23 * kHour), "yesterday");
  EXPECT_EQ(ago(spring, 22 * kHour), "22 hours ago");
  EXPECT_EQ(ago(autumn, 24 * kHour), "24 hours ago");
  EXPECT_EQ(ago(autumn, 25 * kHour), "yesterday");
}

TEST(RelativeDate, NoonYesterdaySeenAtElevenIsHoursAgo) {
  const Instant eleven = kNow - std::chrono::hours(1);
  EXPECT_EQ(RelativeDate::text(kNow - std::chrono::hours(24), eleven, LocalCalendar::inTimeZone("UTC"), "en_US"),
            "23 hours ago");
}

TEST(RelativeDate, SpeaksTheLanguageOfTheLocale) {
  EXPECT_EQ(inUtc(kNow - std::chrono::hours(24), "de_DE"), "gestern");
  EXPECT_EQ(inUtc(kNow - std::chrono::hours(48), "de_DE"), "vorgestern");
  EXPECT_EQ(inUtc(kNow - std::chrono::minutes(5), "fr"), "il y a 5 minutes");
  EXPECT_EQ(inUtc(kNow - std::chrono::minutes(5), "xx_YY"), inUtc(kNow - std::chrono::minutes(5), "xx_YY"));
  EXPECT_FALSE(inUtc(kNow, "").empty());
}

TEST(RelativeDate, InstantsFarApartAreSafe) {
  EXPECT_FALSE(inUtc(Instant::min()).empty());
  EXPECT_FALSE(inUtc(Instant::max()).empty());
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  EXPECT_EQ(RelativeDate::text(instantAtSeconds(-62'135'596'800), kNow, calendar, "en"), "2,025 years ago");
}

}  // namespace
}  // namespace pellora
