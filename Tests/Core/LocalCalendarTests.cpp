#include <gtest/gtest.h>
#include <unicode/calendar.h>
#include <unicode/gregocal.h>

#include <cstdlib>
#include <random>

#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {
namespace {

Instant utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
  const auto days = std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
  return instantAtSeconds(days.time_since_epoch().count() * 86'400LL + hour * 3'600 + minute * 60 + second);
}

// Sets TZ for one test.
class TimeZoneVariable {
 public:
  explicit TimeZoneVariable(const char* value) {
    if (const char* before = std::getenv("TZ")) _before = before;
    setenv("TZ", value, 1);
  }
  ~TimeZoneVariable() { setenv("TZ", _before.c_str(), 1); }

 private:
  std::string _before = "UTC";
};

TEST(LocalCalendar, DayStringsAreOfTheLocalDate) {
  struct Case {
    const char* zone;
    Instant instant;
    const char* day;
  };
  const std::vector<Case> cases = {
      {"UTC", utc(2026, 3, 1), "2026-03-01"},
      {"UTC", utc(2026, 3, 1) - Nanoseconds(1), "2026-02-28"},
      {"UTC", utc(2024, 2, 29, 23, 59, 59) + Nanoseconds(999'999'999), "2024-02-29"},
      {"America/New_York", utc(1970, 1, 1), "1969-12-31"},
      {"America/New_York", utc(2026, 7, 1, 3, 59, 59), "2026-06-30"},
      {"America/New_York", utc(2026, 7, 1, 4), "2026-07-01"},
      {"Pacific/Kiritimati", utc(2025, 12, 31, 10), "2026-01-01"},
      {"Pacific/Pago_Pago", utc(2026, 1, 1, 10, 59, 59), "2025-12-31"},
      {"Asia/Kathmandu", utc(2026, 1, 1, 18, 15), "2026-01-02"},
      {"Asia/Kathmandu", utc(2026, 1, 1, 18, 14, 59), "2026-01-01"},
      {"UTC", utc(1969, 12, 31, 23, 59, 59), "1969-12-31"},
      {"UTC", utc(1, 1, 1), "0001-01-01"},
      {"UTC", utc(987, 6, 5), "0987-06-05"},
      {"UTC", utc(9999, 12, 31, 23), "9999-12-31"},
      {"Nowhere/Atlantis", utc(2026, 1, 1, 12), "2026-01-01"},
      {"", utc(2026, 1, 1, 12), "2026-01-01"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(LocalCalendar::inTimeZone(each.zone).dayString(each.instant), each.day) << each.zone;
}

TEST(LocalCalendar, DaysOnWhichClocksChangeBeginAndEndWhereTheyShould) {
  struct Case {
    const char* zone;
    Instant noon;
    Instant start;
    int hours;
  };
  const std::vector<Case> cases = {
      {"America/New_York", utc(2026, 3, 8, 16), utc(2026, 3, 8, 5), 23},
      {"America/New_York", utc(2026, 11, 1, 17), utc(2026, 11, 1, 4), 25},
      {"America/New_York", utc(2026, 11, 1, 5, 30), utc(2026, 11, 1, 4), 25},
      {"Europe/Berlin", utc(2026, 3, 29, 10), utc(2026, 3, 28, 23), 23},
      {"Europe/Berlin", utc(2026, 10, 25, 22, 59), utc(2026, 10, 24, 22), 25},
      // Clocks go from 00:00 to 01:00.
      {"America/Sao_Paulo", utc(2018, 11, 4, 12), utc(2018, 11, 4, 3), 23},
      {"Asia/Beirut", utc(2019, 3, 31, 9), utc(2019, 3, 30, 22), 23},
      {"Australia/Lord_Howe", utc(2026, 10, 4, 1), utc(2026, 10, 3, 13, 30), 0},
  };
  for (const Case& each : cases) {
    const LocalCalendar calendar = LocalCalendar::inTimeZone(each.zone);
    const Instant start = calendar.startOfDay(each.noon);
    EXPECT_EQ(wholeSeconds(start), wholeSeconds(each.start)) << each.zone;
    EXPECT_EQ(calendar.startOfDay(start), start) << each.zone;
    EXPECT_EQ(calendar.dayString(start), calendar.dayString(each.noon)) << each.zone;
    EXPECT_LT(calendar.dayString(start - Nanoseconds(1)), calendar.dayString(start)) << each.zone;
    if (each.hours == 0) continue;
    const Instant next = start + std::chrono::hours(each.hours);
    EXPECT_EQ(calendar.startOfDay(next), next) << each.zone;
    EXPECT_EQ(calendar.dayString(next - Nanoseconds(1)), calendar.dayString(start)) << each.zone;
  }
}

TEST(LocalCalendar, ADayThatBeginsTwiceBeginsAtItsFirstInstant) {
  // One minute after midnight clocks went back to 23:01 of the day before.
  const LocalCalendar calendar = LocalCalendar::inTimeZone("America/St_Johns");
  const Instant firstMidnight = utc(2010, 11, 7, 2, 30);
  EXPECT_EQ(calendar.dayString(firstMidnight), "2010-11-07");
  EXPECT_EQ(calendar.dayString(firstMidnight + std::chrono::seconds(60)), "2010-11-06");
  EXPECT_EQ(calendar.dayString(firstMidnight + std::chrono::hours(1)), "2010-11-07");
  EXPECT_EQ(calendar.startOfDay(utc(2010, 11, 7, 12)), firstMidnight);
  EXPECT_EQ(calendar.startOfDay(firstMidnight + std::chrono::seconds(60)), utc(2010, 11, 6, 2, 30));
}

TEST(LocalCalendar, AddingDaysKeepsTheWallClock) {
  const LocalCalendar newYork = LocalCalendar::inTimeZone("America/New_York");
  const Nanoseconds fraction(123);
  EXPECT_EQ(newYork.addingDays(utc(2026, 3, 7, 17) + fraction, 1), utc(2026, 3, 8, 16) + fraction);
  EXPECT_EQ(newYork.addingDays(utc(2026, 3, 8, 16), -1), utc(2026, 3, 7, 17));
  EXPECT_EQ(newYork.addingDays(utc(2026, 10, 31, 16), 1), utc(2026, 11, 1, 17));
  // 02:30 does not exist on that day.
  EXPECT_EQ(newYork.addingDays(utc(2026, 3, 7, 7, 30), 1), utc(2026, 3, 8, 7, 30));
  EXPECT_EQ(newYork.addingDays(utc(2026, 3, 9, 6, 30), -1), utc(2026, 3, 8, 7, 30));
  EXPECT_EQ(newYork.addingDays(utc(2026, 1, 31, 12), 0), utc(2026, 1, 31, 12));
  EXPECT_EQ(newYork.addingDays(utc(2024, 2, 28, 12), 366), utc(2025, 2, 28, 12));
  // The date line moved: that island has no 2011-12-30.
  const LocalCalendar apia = LocalCalendar::inTimeZone("Pacific/Apia");
  EXPECT_EQ(apia.dayString(apia.addingDays(utc(2011, 12, 29, 22), 1)), "2011-12-31");
  EXPECT_EQ(apia.dayString(apia.addingDays(utc(2011, 12, 29, 22), 3)), "2012-01-01");
}

TEST(LocalCalendar, WeekdaysCountFromSunday) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  EXPECT_EQ(calendar.weekday(utc(1970, 1, 1)), 5);
  EXPECT_EQ(calendar.weekday(utc(2026, 11, 22)), 1);
  EXPECT_EQ(calendar.weekday(utc(2026, 11, 21, 23, 59, 59)), 7);
  EXPECT_EQ(calendar.weekday(utc(1969, 12, 28)), 1);
  EXPECT_EQ(LocalCalendar::inTimeZone("Asia/Tokyo").weekday(utc(2026, 11, 21, 15)), 1);
}

TEST(LocalCalendar, DifferencesCountWholeCalendarUnits) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("America/New_York");
  struct Case {
    Instant earlier;
    Instant later;
    int months;
    int days;
  };
  const std::vector<Case> cases = {
      {utc(2026, 1, 1, 12), utc(2026, 1, 1, 12), 0, 0},
      {utc(2026, 1, 1, 12), utc(2026, 1, 2, 11, 59, 59), 0, 0},
      {utc(2026, 1, 1, 12), utc(2026, 1, 2, 12), 0, 1},
      {utc(2026, 3, 7, 17), utc(2026, 3, 8, 16), 0, 1},
      {utc(2026, 10, 31, 16), utc(2026, 11, 1, 16), 0, 0},
      {utc(2026, 1, 31, 12), utc(2026, 2, 28, 12), 1, 28},
      {utc(2026, 1, 31, 12), utc(2026, 2, 28, 11), 0, 27},
      {utc(2026, 1, 15, 12), utc(2027, 1, 15, 12), 12, 365},
      {utc(2026, 1, 15, 12), utc(2027, 1, 15, 12) - Nanoseconds(1), 11, 364},
      {utc(2026, 2, 1, 12), utc(2026, 1, 1, 12), 0, 0},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(calendar.monthsBetween(each.earlier, each.later), each.months) << wholeSeconds(each.later);
    EXPECT_EQ(calendar.daysBetween(each.earlier, each.later), each.days) << wholeSeconds(each.later);
  }
}

TEST(LocalCalendar, InstantsOutsideTheCalendarAreTakenAsItsEnds) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  const Instant farPast = Instant::min();
  const Instant farFuture = Instant::max();
  EXPECT_EQ(calendar.dayString(farPast), "0001-01-01");
  EXPECT_EQ(calendar.dayString(farFuture), "9999-12-31");
  EXPECT_EQ(calendar.startOfDay(farFuture), utc(9999, 12, 31));
  EXPECT_EQ(calendar.dayString(calendar.addingDays(farFuture, 2'000'000'000)), "9999-12-31");
  EXPECT_EQ(calendar.dayString(calendar.addingDays(farPast, -2'000'000'000)), "0001-01-01");
  EXPECT_GT(calendar.daysBetween(farPast, farFuture), 3'650'000);
  EXPECT_GT(calendar.monthsBetween(farPast, farFuture), 119'000);
  for (const char* zone : {"Pacific/Kiritimati", "Pacific/Pago_Pago", "America/New_York"}) {
    const LocalCalendar local = LocalCalendar::inTimeZone(zone);
    EXPECT_EQ(local.dayString(local.startOfDay(farPast)), local.dayString(farPast));
    EXPECT_EQ(local.dayString(local.startOfDay(farFuture)), local.dayString(farFuture));
  }
}

TEST(LocalCalendar, CurrentFollowsTheMachineAtTheMomentOfTheCall) {
  const Instant instant = utc(2026, 7, 1, 22, 30);
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"Asia/Tokyo", "2026-07-02"}, {":America/Los_Angeles", "2026-07-01"},
      {"", "2026-07-01"},           {"/usr/share/zoneinfo/Asia/Tokyo", "2026-07-02"},
      {"JST-9", "2026-07-02"},      {"Europe/Berlin", "2026-07-02"},
      {"UTC", "2026-07-01"},        {"GMT+3", "2026-07-01"},
      {"GMT-3", "2026-07-02"},      {"XYZ-3:30", "2026-07-02"},
      {"IST-5:30", "2026-07-02"},   {"<+0530>-5:30", "2026-07-02"},
      {"America", "2026-07-01"},    {"CET-1CEST,M3.5.0,M10.5.0/3", "2026-07-02"},
  };
  for (const auto& [zone, day] : cases) {
    const TimeZoneVariable variable(zone);
    EXPECT_EQ(LocalCalendar::current().dayString(instant), day) << zone;
  }
}

// The widest offsets that can be spelled, and clocks that change by hours and on other days.
TEST(LocalCalendar, DaysAreWholeInZonesFarFromUtc) {
  for (const char* zone : {"ABC-24:59:59", "ABC24:59:59", "ABC-24:59:59DEF", "ABC24:59:59DEF12,J100/0,J101/0",
                           "ABC12DEF-24:59:59,J100/167,J200/-167"}) {
    const TimeZoneVariable variable(zone);
    const LocalCalendar calendar = LocalCalendar::current();
    for (Instant each = utc(2026, 1, 1); each < utc(2026, 12, 31); each += std::chrono::minutes(97)) {
      const Instant start = calendar.startOfDay(each);
      ASSERT_LE(start, each) << zone << " " << wholeSeconds(each);
      ASSERT_EQ(calendar.dayString(start), calendar.dayString(each)) << zone << " " << wholeSeconds(each);
      ASSERT_NE(calendar.dayString(start - Nanoseconds(1)), calendar.dayString(each)) << zone << wholeSeconds(each);
      ASSERT_EQ(calendar.addingDays(each, 0), each) << zone << " " << wholeSeconds(each);
    }
  }
}

// The Unicode library's own calendar, slow and asked afresh for every instant, says the same in any order. Its zones
// may be older than the system's, which know more of the past and the future, so the years between are compared.
TEST(LocalCalendar, AgreesWithTheReferenceCalendarInAnyOrder) {
  std::mt19937_64 random(7);
  for (const char* zone : {"UTC", "America/New_York", "Europe/Berlin", "Asia/Beirut", "America/Sao_Paulo",
                           "Pacific/Apia", "Australia/Lord_Howe", "Asia/Tehran", "America/St_Johns"}) {
    const LocalCalendar calendar = LocalCalendar::inTimeZone(zone);
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar reference(icu::TimeZone::createTimeZone(zone), icu::Locale::getRoot(), status);
    std::uniform_int_distribution<std::int64_t> seconds(631'152'000, 1'640'000'000);  // 1990 to 2021
    std::uniform_int_distribution<std::int64_t> near(-100'000, 100'000);
    for (int round = 0; round < 400; ++round) {
      const std::int64_t base = seconds(random);
      for (const std::int64_t each : {base, base + near(random), base + near(random)}) {
        reference.setTime(static_cast<double>(each) * 1'000, status);
        const LocalCalendar::Date date = calendar.date(instantAtSeconds(each));
        ASSERT_EQ(date, (LocalCalendar::Date{reference.get(UCAL_YEAR, status), reference.get(UCAL_MONTH, status) + 1,
                                             reference.get(UCAL_DAY_OF_MONTH, status)}))
            << zone << " " << each;
        ASSERT_EQ(calendar.weekday(instantAtSeconds(each)), reference.get(UCAL_DAY_OF_WEEK, status));
      }
    }
  }
}

}  // namespace
}  // namespace pellora
