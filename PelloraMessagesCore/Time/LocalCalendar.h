// The user's calendar (Gregorian) in one time zone: which day an instant belongs to, where days begin, days added
// by the calendar and not by 86,400 seconds. The C library finds the zone and knows its rules, so days here are those
// of every other program on the machine; two changes of the clocks within one day are not told apart.
// Copies are cheap and share their caches, so an instance and its copies serve one thread at a time.
// Tested by Tests/Core/LocalCalendarTests.cpp and Tests/Core/EveryZoneTests.cpp.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

class LocalCalendar {
 public:
  struct Date {
    int year = 0;
    int month = 0;  // 1 to 12
    int day = 0;    // 1 to 31

    bool operator==(const Date&) const = default;
  };

  // In the time zone that the machine is set to at this moment (TZ, else the system's): a changed variable and a
  // replaced /etc/localtime are noticed here. An older calendar keeps its zone for two months around the moment of its
  // creation. Any thread.
  static LocalCalendar current();

  // `identifier` as in "Europe/Berlin"; an unknown one is UTC. For tests and tools: changes the environment of the
  // process for moments.
  static LocalCalendar inTimeZone(std::string_view identifier);

  Date date(Instant instant) const;

  // "%04d-%02d-%02d" of the local date: sorts by time as plain text for years 1 to 9999.
  std::string dayString(Instant instant) const;

  // The first instant of the local day (not always 00:00, where clocks change at midnight).
  Instant startOfDay(Instant instant) const;

  // The same wall-clock time `days` later (negative: earlier), adjusted where that time does not exist.
  Instant addingDays(Instant instant, int days) const;

  // 1 Sunday to 7 Saturday.
  int weekday(Instant instant) const;

  // Calendar units between two instants with later >= earlier, each rounded down: whole months (counting by the
  // local calendar date and time) and whole days.
  int monthsBetween(Instant earlier, Instant later) const;
  int daysBetween(Instant earlier, Instant later) const;

 private:
  struct State;
  explicit LocalCalendar(std::shared_ptr<State> state) : _state(std::move(state)) {}

  std::shared_ptr<State> _state;
};

}  // namespace pellora
