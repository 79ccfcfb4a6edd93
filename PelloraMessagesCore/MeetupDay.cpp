#include "PelloraMessagesCore/MeetupDay.h"

#include <algorithm>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Language/MeetupWords.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::MeetupDay {

namespace {

constexpr int kDaysAWeek = 7;
constexpr int kSunday = 1;
constexpr int kSaturday = 7;

bool contains(std::string_view words, std::string_view part) {
  return words.find(part) != std::string_view::npos;
}

// Days back to the weekend's Saturday: on a weekend this one's, and for "last weekend" the one before.
int daysSinceWeekend(std::string_view words, int weekday) {
  const bool isWeekend = weekday == kSaturday || weekday == kSunday;
  return weekday % kDaysAWeek + (isWeekend && contains(words, "last") ? kDaysAWeek : 0);
}

// Days back to the first weekday named, a week when it is today's.
std::optional<int> daysSinceNamedWeekday(std::string_view words, int weekday) {
  for (int named = 1; named <= kDaysAWeek; ++named) {
    if (!contains(words, MeetupWords::kWeekdays[static_cast<std::size_t>(named) - 1])) continue;
    const int back = (weekday - named + kDaysAWeek) % kDaysAWeek;
    return back == 0 ? kDaysAWeek : back;
  }
  return std::nullopt;
}

// How many days before the message the words mean, absent when they say nothing about a day.
std::optional<int> daysBack(std::string_view words, int weekday) {
  if (GuardText::containsAny(words, MeetupWords::kSameDayWords)) return 0;
  if (contains(words, "yesterday") || contains(words, "last night")) return 1;
  if (contains(words, "weekend")) return daysSinceWeekend(words, weekday);
  if (const std::optional<int> back = daysSinceNamedWeekday(words, weekday)) return back;
  if (contains(words, "last week")) return kDaysAWeek;
  return std::nullopt;
}

}  // namespace

Resolved resolve(std::string_view when, Instant referenceDate, const LocalCalendar& calendar) {
  const Instant base = calendar.startOfDay(referenceDate);
  const std::optional<int> back = daysBack(text::lowercased(when), calendar.weekday(base));
  if (!back) return {base, false};
  if (*back == 0) return {base, true};
  // Once more the start, where clocks change at midnight and the wall-clock time is not the day's first.
  return {calendar.startOfDay(calendar.addingDays(base, -*back)), true};
}

}  // namespace pellora::MeetupDay
