#include "PelloraMessagesCore/MessagesLatelyRecord.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using Days = std::vector<MessagesDayRecord>;

// By key, equal keys as they came.
template <class Value, class Key>
std::vector<Value> sortedBy(std::vector<Value> values, Key key) {
  std::vector<std::size_t> order(values.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
    return std::tuple(key(values[left]), left) < std::tuple(key(values[right]), right);
  });
  std::vector<Value> result;
  result.reserve(values.size());
  for (const std::size_t index : order) result.push_back(std::move(values[index]));
  return result;
}

std::vector<MessagesLatelyRecord::SentLink> sentLinks(const Days& days) {
  std::vector<MessagesLatelyRecord::SentLink> result;
  std::unordered_set<std::string_view> seen;
  for (const MessagesDayRecord& day : days)
    for (const std::string& url : day.sentURLs)
      if (seen.insert(url).second) result.push_back({url, day.lastMessageAt});
  return result;
}

std::optional<Instant> lastTalkedAt(const Days& days) {
  const auto newest = std::find_if(days.rbegin(), days.rend(), [](const auto& day) { return day.sentCount > 0; });
  return newest == days.rend() ? std::nullopt : std::optional(newest->lastMessageAt);
}

std::vector<MessagesNews> news(const Days& days, std::string_view firstName) {
  std::vector<MessagesNews> all;
  for (const MessagesDayRecord& day : days) all.insert(all.end(), day.news.begin(), day.news.end());
  return NewsGuard::withoutRepeats(all, firstName);
}

// The first of each calendar day.
std::vector<MessagesMeetup> meetups(const Days& days, const LocalCalendar& calendar) {
  std::vector<MessagesMeetup> result;
  std::unordered_set<std::string> seen;
  for (const MessagesDayRecord& day : days) {
    if (!day.meetups) continue;
    for (const MessagesMeetup& meetup : *day.meetups)
      if (seen.insert(calendar.dayString(meetup.day)).second) result.push_back(meetup);
  }
  return sortedBy(std::move(result), [](const MessagesMeetup& meetup) { return meetup.day; });
}

// The first of each name; the person's own has none.
std::vector<MessagesBirthday> birthdays(const Days& days) {
  std::vector<MessagesBirthday> result;
  std::unordered_set<std::string> seen;
  for (const MessagesDayRecord& day : days)
    if (day.birthday && seen.insert(text::canonical(text::lowercased(day.birthday->name.value_or("")))).second)
      result.push_back(*day.birthday);
  return sortedBy(std::move(result), [](const MessagesBirthday& birthday) { return birthday.wishedAt; });
}

}  // namespace

std::optional<MessagesLatelyRecord> MessagesLatelyRecord::build(Days days, std::int64_t windowDays, Instant writtenAt,
                                                                const LocalCalendar& calendar,
                                                                std::string_view firstName) {
  if (days.empty()) return std::nullopt;
  days = sortedBy(std::move(days), [](const MessagesDayRecord& day) { return std::pair(day.lastMessageAt, day.day); });
  MessagesLatelyRecord record;
  record.personID = days.front().personID;
  record.handle = days.back().handle;
  record.windowDays = windowDays;
  record.firstMessageAt = days.front().firstMessageAt;
  record.lastMessageAt = days.back().lastMessageAt;
  record.lastTalkedAt = pellora::lastTalkedAt(days);
  for (const MessagesDayRecord& day : days) {
    record.sentCount += day.sentCount;
    record.receivedCount += day.receivedCount;
    if (day.birthdayHint) record.birthdayWishDays.push_back(day.day);
  }
  record.dayCount = static_cast<std::int64_t>(days.size());
  record.news = pellora::news(days, firstName);
  record.meetups = pellora::meetups(days, calendar);
  record.birthdays = pellora::birthdays(days);
  record.sentLinks = pellora::sentLinks(days);
  record.writtenAt = writtenAt;
  return record;
}

}  // namespace pellora
