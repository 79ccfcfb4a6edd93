// How many texts went each way between the user and one person, per calendar day, over the days that end today: as
// bars for a terminal and as a picture for a page.
// Tested by Tests/Companion/LatelyPageTests.cpp.
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

  // Three lines: the days' ends, sent, received. Leaves out the oldest days that do not fit the width.
  std::string text(const OutputStyle& style) const;

  // An inline SVG, sent above the line and received below; `description` says in words what it shows, and is escaped
  // already.
  std::string picture(const std::string& description) const;
};

}  // namespace pellora
