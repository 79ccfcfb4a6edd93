#include <gtest/gtest.h>

#include "PelloraMessagesCore/MeetupGuard.h"

namespace pellora {
namespace {

// Noon of a day given as days since 1970-01-01, in UTC.
Instant noon(std::int64_t day) {
  return instantAtSeconds(day * 86'400 + 43'200);
}

// 2025-06-01 is a Sunday.
constexpr std::int64_t kSunday = 20'240;

struct Case {
  const char* when;
  int weekday;  // 0 Sunday to 6 Saturday: the day of the message
  int back;     // days before the message
  bool isFromWords;
};

class MeetupDayTable : public testing::TestWithParam<Case> {};

TEST_P(MeetupDayTable, WordsMeanAPastDay) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  const Case& each = GetParam();
  const Instant reference = noon(kSunday + each.weekday);
  const MeetupDay::Resolved resolved = MeetupDay::resolve(each.when, reference, calendar);
  EXPECT_EQ(calendar.dayString(resolved.day), calendar.dayString(noon(kSunday + each.weekday - each.back)));
  EXPECT_EQ(resolved.day, calendar.startOfDay(resolved.day));
  EXPECT_EQ(resolved.isDayFromWords, each.isFromWords);
}

constexpr int kSun = 0, kMon = 1, kTue = 2, kWed = 3, kThu = 4, kFri = 5, kSat = 6;

INSTANTIATE_TEST_SUITE_P(Empty, MeetupDayTable, testing::Values(Case{"", kWed, 0, false}, Case{" ", kWed, 0, false}));

INSTANTIATE_TEST_SUITE_P(SameDay, MeetupDayTable,
                         testing::Values(Case{"today", kWed, 0, true}, Case{"TONIGHT", kWed, 0, true},
                                         Case{"This Morning", kWed, 0, true}, Case{"this afternoon", kWed, 0, true},
                                         Case{"this evening", kWed, 0, true}, Case{"earlier", kWed, 0, true},
                                         // Before every other rule.
                                         Case{"today, not yesterday", kWed, 0, true},
                                         Case{"earlier last weekend", kSat, 0, true},
                                         Case{"earlier on Monday", kWed, 0, true}));

INSTANTIATE_TEST_SUITE_P(DayBefore, MeetupDayTable,
                         testing::Values(Case{"yesterday", kWed, 1, true}, Case{"Last Night", kWed, 1, true},
                                         Case{"yesterday, the weekend", kSun, 1, true},
                                         Case{"last night, Friday", kSun, 1, true},
                                         Case{"the day before yesterday", kWed, 1, true}));

INSTANTIATE_TEST_SUITE_P(Weekend, MeetupDayTable,
                         testing::Values(Case{"this weekend", kSun, 1, true}, Case{"weekend", kMon, 2, true},
                                         Case{"the weekend", kTue, 3, true}, Case{"over the weekend", kWed, 4, true},
                                         Case{"Weekend", kThu, 5, true}, Case{"weekend", kFri, 6, true},
                                         Case{"weekend", kSat, 0, true}, Case{"last weekend", kSun, 8, true},
                                         Case{"last weekend", kMon, 2, true}, Case{"last weekend", kTue, 3, true},
                                         Case{"last weekend", kWed, 4, true}, Case{"last weekend", kThu, 5, true},
                                         Case{"last weekend", kFri, 6, true}, Case{"Last Weekend", kSat, 7, true},
                                         Case{"weekend before last", kSat, 7, true},
                                         // Before the weekdays and before the last week.
                                         Case{"Friday of the weekend", kMon, 2, true},
                                         Case{"last weekend", kWed, 4, true}));

INSTANTIATE_TEST_SUITE_P(
    Weekday, MeetupDayTable,
    testing::Values(Case{"sunday", kWed, 3, true}, Case{"Monday", kWed, 2, true}, Case{"tuesday", kWed, 1, true},
                    Case{"WEDNESDAY", kWed, 7, true}, Case{"thursday", kWed, 6, true}, Case{"friday", kWed, 5, true},
                    Case{"saturday", kWed, 4, true}, Case{"Friday", kFri, 7, true}, Case{"sunday", kSun, 7, true},
                    Case{"saturday", kSat, 7, true}, Case{"saturday", kSun, 1, true}, Case{"sunday", kSat, 6, true},
                    Case{"on fridays", kSat, 1, true},
                    // Sunday first, whatever comes first in the words.
                    Case{"Monday or Sunday", kWed, 3, true}, Case{"saturday, friday", kWed, 5, true},
                    // Before the last week.
                    Case{"Monday last week", kWed, 2, true}));

INSTANTIATE_TEST_SUITE_P(LastWeek, MeetupDayTable,
                         testing::Values(Case{"last week", kWed, 7, true}, Case{"Last Week", kSun, 7, true}));

INSTANTIATE_TEST_SUITE_P(Unknown, MeetupDayTable,
                         testing::Values(Case{"the other day", kWed, 0, false}, Case{"in May", kWed, 0, false},
                                         Case{"last  week", kWed, 0, false}, Case{"gestern", kWed, 0, false},
                                         Case{"\xFF", kWed, 0, false}));

TEST(MeetupDay, DaysAreTheCalendarsAndNotTwentyFourHours) {
  const LocalCalendar berlin = LocalCalendar::inTimeZone("Europe/Berlin");
  // 2025-03-31 10:00 there; the clocks changed on the 30th.
  const Instant reference = instantAtSeconds(1'743'408'000);
  EXPECT_EQ(wholeSeconds(MeetupDay::resolve("yesterday", reference, berlin).day), 1'743'289'200);
  EXPECT_EQ(wholeSeconds(MeetupDay::resolve("saturday", reference, berlin).day), 1'743'202'800);
  EXPECT_EQ(wholeSeconds(MeetupDay::resolve("today", reference, berlin).day), 1'743'372'000);
}

TEST(MeetupDay, IsTheFirstInstantOfADayEvenWhereClocksChangeAtMidnight) {
  // 2018-11-04 began at 01:00 there.
  const LocalCalendar calendar = LocalCalendar::inTimeZone("America/Sao_Paulo");
  const Instant onTheDay = instantAtSeconds(1'541'340'000);
  const Instant after = instantAtSeconds(1'541'426'400);
  EXPECT_EQ(calendar.dayString(onTheDay), "2018-11-04");
  EXPECT_EQ(MeetupDay::resolve("yesterday", after, calendar).day, calendar.startOfDay(onTheDay));
  const Instant dayBefore = MeetupDay::resolve("yesterday", onTheDay, calendar).day;
  EXPECT_EQ(dayBefore, calendar.startOfDay(dayBefore));
  EXPECT_EQ(calendar.dayString(dayBefore), "2018-11-03");
}

TEST(MeetupDay, TheDayIsTheLocalOneOfTheMessage) {
  // 2025-06-01 23:30 UTC is Monday the 2nd in Tokyo.
  const Instant reference = instantAtSeconds(kSunday * 86'400 + 84'600);
  const LocalCalendar tokyo = LocalCalendar::inTimeZone("Asia/Tokyo");
  EXPECT_EQ(tokyo.dayString(MeetupDay::resolve("", reference, tokyo).day), "2025-06-02");
  EXPECT_EQ(tokyo.dayString(MeetupDay::resolve("sunday", reference, tokyo).day), "2025-06-01");
}

}  // namespace
}  // namespace pellora
