// A time zone as POSIX spells it in the variable TZ and at the end of zone files: "CET-1CEST,M3.5.0,M10.5.0/3". A
// standard offset and perhaps daylight saving time, which begins and ends once a year, for ever and always. Read as
// the C library reads it:
//
//   NAME OFFSET [NAME [OFFSET] [,DATE[/TIME] [,DATE[/TIME]]]]
//   NAME    three or more letters, or letters, digits and signs in <...>
//   OFFSET  [+|-]hh[:mm[:ss]], positive west of Greenwich; that of daylight saving time is an hour east when left out
//   DATE    Mm.w.d (weekday d from Sunday 0, the w-th of month m, 5 the last), Jn (1 to 365, never February 29th) or
//           n (0 to 365)
//   TIME    [+|-]h[:mm[:ss]] up to a week from midnight, on the clock that is given up; 02:00 when left out
//
// Dates left out are those of the United States, M3.2.0 and M11.1.0. A value. Tested by
// Tests/Core/PosixZoneRuleTests.cpp and ZonesAndLibcTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "PelloraMessagesCore/Time/ZoneStretch.h"

namespace pellora {

class PosixZoneRule {
 public:
  // When in a year clocks change.
  struct Change {
    enum class Kind { monthWeekday, dayWithoutLeapDay, dayOfYear };
    Kind kind = Kind::monthWeekday;
    int month = 0;              // 1 to 12, of monthWeekday
    int week = 0;               // 1 to 5, of monthWeekday
    int day = 0;                // the weekday, Jn or n
    std::int64_t time = 7'200;  // seconds from midnight, within a week

    bool operator==(const Change&) const = default;
  };

  // Absent for anything that is not such a rule.
  static std::optional<PosixZoneRule> parse(std::string_view text);

  // For any instant; before the year -9999 and after 19999 standard time is taken.
  ZoneStretch stretch(std::int64_t seconds) const;

  bool operator==(const PosixZoneRule&) const = default;

 private:
  struct Daylight {
    std::int64_t offset = 0;
    Change begin;  // on the standard clock
    Change end;    // on the daylight clock

    bool operator==(const Daylight&) const = default;
  };

  std::int64_t _offset = 0;
  std::optional<Daylight> _daylight;
};

}  // namespace pellora
