// Sent and received counts of one person, one pair a calendar day, over the days that end today.
// Tested by Tests/Companion/DayStripTests.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct DayStrip {
  static constexpr std::size_t kDays = 30;

  struct Day {
    LocalCalendar::Date date;
    std::int64_t sent = 0;
    std::int64_t received = 0;
  };

  std::vector<Day> days;  // oldest first, always kDays of them

  static DayStrip of(const Uuid& person, const HelperDayNotes& notes, Instant now, const LocalCalendar& calendar);

  std::int64_t largest() const;  // of all counts
  bool isEmpty() const { return largest() == 0; }

  // Three lines: the days' ends, sent, received. The oldest days go when the width does not take them all.
  std::string text(const OutputStyle& style) const;
};

}  // namespace pellora
