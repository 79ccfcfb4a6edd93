#include <gtest/gtest.h>

#include <limits>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {
namespace {

struct DateCase {
  std::string text;
  std::int64_t seconds;
};

const std::vector<DateCase> kDates = {
    {"1970-01-01T00:00:00Z", 0},
    {"1969-12-31T23:59:59Z", -1},
    {"2025-03-01T09:30:00Z", 1'740'821'400},
    {"2000-02-29T23:59:59Z", 951'868'799},
    {"2024-02-29T00:00:00Z", 1'709'164'800},
    {"2100-03-01T00:00:00Z", 4'107'542'400},
    {"2038-01-19T03:14:08Z", 2'147'483'648},
    {"1900-02-28T12:00:00Z", -2'203'934'400},
    {"0001-01-01T00:00:00Z", -62'135'596'800},
    {"9999-12-31T23:59:59Z", 253'402'300'799},
};

TEST(IsoDate, AreReadAndWrittenInUtcWithWholeSeconds) {
  for (const DateCase& each : kDates) {
    EXPECT_EQ(IsoDate::text(instantAtSeconds(each.seconds)), each.text);
    EXPECT_EQ(IsoDate::parseSeconds(each.text), instantAtSeconds(each.seconds)) << each.text;
  }
}

TEST(IsoDate, EveryDayOfFourCenturiesComesBack) {
  for (std::int64_t day = -200'000; day < 200'000; day += 1) {
    const Instant instant = instantAtSeconds(day * 86'400 + 45'296);
    ASSERT_EQ(IsoDate::parseSeconds(IsoDate::text(instant)), instant) << day;
  }
}

TEST(IsoDate, FractionsAreRoundedDownAlsoBefore1970) {
  struct Case {
    std::int64_t nanoseconds;
    std::string text;
  };
  for (const Case& each : std::vector<Case>{{1, "1970-01-01T00:00:00Z"},
                                            {999'999'999, "1970-01-01T00:00:00Z"},
                                            {1'000'000'000, "1970-01-01T00:00:01Z"},
                                            {-1, "1969-12-31T23:59:59Z"},
                                            {-999'999'999, "1969-12-31T23:59:59Z"},
                                            {-1'000'000'000, "1969-12-31T23:59:59Z"},
                                            {-1'000'000'001, "1969-12-31T23:59:58Z"}})
    EXPECT_EQ(IsoDate::text(Instant(Nanoseconds(each.nanoseconds))), each.text) << each.nanoseconds;
}

TEST(IsoDate, TimesOutsideTheYears1To9999AreWrittenAsTheNearestInside) {
  constexpr Int128 kHuge = static_cast<Int128>(std::numeric_limits<std::int64_t>::max()) * 1'000'000'000'000;
  EXPECT_EQ(IsoDate::text(Instant(Nanoseconds(kHuge))), "9999-12-31T23:59:59Z");
  EXPECT_EQ(IsoDate::text(Instant(Nanoseconds(-kHuge))), "0001-01-01T00:00:00Z");
  EXPECT_EQ(IsoDate::text(instantAtSeconds(253'402'300'800)), "9999-12-31T23:59:59Z");
  EXPECT_EQ(IsoDate::text(instantAtSeconds(-62'135'596'801)), "0001-01-01T00:00:00Z");
  EXPECT_EQ(IsoDate::text(Instant::max()), "9999-12-31T23:59:59Z");
  EXPECT_EQ(IsoDate::text(Instant::min()), "0001-01-01T00:00:00Z");
}

TEST(IsoDate, OffsetsAndFractionsAreRead) {
  for (const DateCase& each : std::vector<DateCase>{{"2025-03-01T11:30:00+02:00", 1'740'821'400},
                                                    {"2025-03-01T04:00:00-05:30", 1'740'821'400},
                                                    {"2025-03-01T11:30:00+0200", 1'740'821'400},
                                                    {"2025-03-01T11:30:00+02", 1'740'821'400},
                                                    {"2025-03-01T09:30:00-00:00", 1'740'821'400},
                                                    {"2025-03-01T09:30:00.5Z", 1'740'821'400},
                                                    {"2025-03-01T09:30:00.999999999999Z", 1'740'821'400},
                                                    {"2025-03-01T11:30:00.123+02:00", 1'740'821'400},
                                                    {"1969-12-31T23:59:59.5Z", -1},
                                                    {"2025-03-02T00:00:00+23:59", 1'740'787'260}})
    EXPECT_EQ(IsoDate::parseSeconds(each.text), instantAtSeconds(each.seconds)) << each.text;
}

TEST(IsoDate, PreciseTextsKeepEveryNanosecond) {
  const Instant instant = instantAtSeconds(1'795'235'340);
  struct Case {
    std::string text;
    Instant instant;
  };
  for (const Case& each : std::vector<Case>{{"2026-11-21T04:29:00Z", instant},
                                            {"2026-11-21T04:29:00.500000000Z", instant + Nanoseconds(500'000'000)},
                                            {"2026-11-21T04:29:00.000000001Z", instant + Nanoseconds(1)},
                                            {"1969-12-31T23:59:59.000000001Z", instantAtSeconds(-1) + Nanoseconds(1)},
                                            {"0001-01-01T00:00:00Z", kEarliestInstant},
                                            {"9999-12-31T23:59:59.999999999Z", kLatestInstant}}) {
    EXPECT_EQ(IsoDate::preciseText(each.instant), each.text);
    EXPECT_EQ(IsoDate::parse(each.text), each.instant) << each.text;
  }
  EXPECT_EQ(IsoDate::preciseText(instantAtSeconds(-100'000'000'000)), "0001-01-01T00:00:00Z");
  EXPECT_EQ(IsoDate::preciseText(instantAtSeconds(300'000'000'000)), "9999-12-31T23:59:59.999999999Z");
  EXPECT_EQ(IsoDate::parse("2026-11-21T05:59:00.5+01:30"), instant + Nanoseconds(500'000'000));
  EXPECT_EQ(IsoDate::parse("2026-11-21T04:29:00.1234567899Z"), instant + Nanoseconds(123'456'789));
}

TEST(IsoDate, AnythingButARealDateReadsAsAbsent) {
  for (const std::string text : {"",
                                 "Z",
                                 "2025-03-01",
                                 "2025-03-01T09:30:00",
                                 "2025-03-01T09:30Z",
                                 "2025-03-01 09:30:00Z",
                                 "2025-3-1T9:30:00Z",
                                 "20250301T093000Z",
                                 "2025-02-29T00:00:00Z",
                                 "2100-02-29T00:00:00Z",
                                 "2025-04-31T00:00:00Z",
                                 "2025-00-10T00:00:00Z",
                                 "2025-13-10T00:00:00Z",
                                 "2025-01-00T00:00:00Z",
                                 "2025-01-32T00:00:00Z",
                                 "2025-01-01T24:00:00Z",
                                 "2025-01-01T00:60:00Z",
                                 "2025-01-01T00:00:60Z",
                                 "2025-01-01T00:00:61Z",
                                 "0000-01-01T00:00:00Z",
                                 "-001-01-01T00:00:00Z",
                                 "+2025-01-01T00:00:00Z",
                                 "12025-01-01T00:00:00Z",
                                 "2025-01-01T00:00:00.Z",
                                 "2025-01-01T00:00:00.5",
                                 "2025-01-01T00:00:00ZZ",
                                 "2025-01-01T00:00:00Z ",
                                 " 2025-01-01T00:00:00Z",
                                 "2025-01-01T00:00:00+24:00",
                                 "2025-01-01T00:00:00+01:60",
                                 "2025-01-01T00:00:00+01:",
                                 "2025-01-01T00:00:00+1",
                                 "2025-01-01T00:00:00+010",
                                 "2025-01-01T00:00:00+",
                                 "2025-01-01t00:00:00z",
                                 "0001-01-01T00:00:00+00:01",
                                 "9999-12-31T23:59:59-00:01",
                                 "\u0662\u0660\u0662\u0665-01-01T00:00:00Z"})
    EXPECT_EQ(IsoDate::parseSeconds(text), std::nullopt) << text;
  EXPECT_EQ(IsoDate::parseSeconds(std::string("2025-01-01T00:00:00Z\0", 21)), std::nullopt);
}

}  // namespace
}  // namespace pellora
