#include <gtest/gtest.h>

#include "Companion/Output/DateText.h"

namespace pellora {
namespace {

constexpr std::int64_t kNow = 1'795'262'400;  // Saturday 2026-11-21T12:00:00Z
constexpr std::int64_t kHour = 3'600;

TEST(DateText, NamesTheDayAndTheYearWhenItIsAnother) {
  struct {
    std::int64_t secondsAgo;
    const char* words;
    const char* weekday;
  } const kCases[] = {
      {0, "today", "Sat 21 Nov"},
      {12 * kHour, "today", "Sat 21 Nov"},
      {12 * kHour + 1, "yesterday", "Fri 20 Nov"},
      {36 * kHour, "yesterday", "Fri 20 Nov"},
      {36 * kHour + 1, "19 Nov", "Thu 19 Nov"},
      {-12 * kHour, "22 Nov", "Sun 22 Nov"},
      {400 * 24 * kHour, "17 Oct 2025", "Fri 17 Oct 2025"},
  };
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  for (const auto& each : kCases) {
    const Instant instant = instantAtSeconds(kNow - each.secondsAgo);
    EXPECT_EQ(date_text::dayInWords(instant, instantAtSeconds(kNow), calendar), each.words);
    EXPECT_EQ(date_text::weekdayDate(instant, instantAtSeconds(kNow), calendar), each.weekday);
  }
}

}  // namespace
}  // namespace pellora
