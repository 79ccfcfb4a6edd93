#include "PelloraMessagesCore/MessagesDayBuilder.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "PelloraMessagesCore/BirthdayFinder.h"
#include "PelloraMessagesCore/Text/LinkDetector.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::MessagesDayBuilder {

namespace {

using Messages = std::vector<HistoryMessage>;

// The messages of one person and day, as indexes into the list handed in.
struct Bucket {
  std::size_t number = 0;  // in the order in which they were opened
  Uuid person;
  const std::string* handle = nullptr;
  std::vector<std::size_t> messages;
};

// One day of the calendar as a number; equal exactly for equal day strings.
std::uint64_t dayNumber(const LocalCalendar::Date& date) {
  return static_cast<std::uint64_t>(date.year) * 10'000U + static_cast<std::uint64_t>(date.month) * 100U +
         static_cast<std::uint64_t>(date.day);
}

// Finds the bucket of a message. Days and people are numbered, and every chat remembers its person and the bucket of
// its last message: a message costs no text and seldom a look-up by person and day.
class Grouping {
 public:
  Grouping(const ChatParticipants& chatHandles, const HandleMatcher& matcher, const LocalCalendar& calendar)
      : _chatHandles(chatHandles), _matcher(matcher), _calendar(calendar) {}

  void add(const HistoryMessage& message, std::size_t index) {
    Chat& chat = chatOf(message.chatID);
    if (chat.handle == nullptr) return;
    const std::uint64_t day = dayNumber(_calendar.date(message.date));
    if (chat.lastBucket == kNone || chat.lastDay != day) {
      chat.lastBucket = bucketOf(chat, day);
      chat.lastDay = day;
    }
    _buckets[chat.lastBucket].messages.push_back(index);
  }

  std::vector<Bucket>& buckets() { return _buckets; }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  struct Chat {
    const std::string* handle = nullptr;  // none: its messages are skipped
    Uuid person;
    std::uint64_t personNumber = 0;
    std::uint64_t lastDay = 0;
    std::size_t lastBucket = kNone;
  };

  Chat& chatOf(std::int64_t id) {
    if (_lastChat != nullptr && _lastChatID == id) return *_lastChat;
    const auto [entry, isNew] = _chats.try_emplace(id);
    if (isNew) entry->second = resolved(id);
    _lastChatID = id;
    _lastChat = &entry->second;  // stays where it is when others are added
    return *_lastChat;
  }

  Chat resolved(std::int64_t id) {
    const auto handles = _chatHandles.find(id);
    if (handles == _chatHandles.end() || handles->second.size() != 1) return {};
    const auto person = _matcher.person(handles->second.front());
    if (!person) return {};
    const std::uint64_t number = _personNumbers.try_emplace(*person, _personNumbers.size()).first->second;
    return {&handles->second.front(), *person, number, 0, kNone};
  }

  std::size_t bucketOf(const Chat& chat, std::uint64_t day) {
    constexpr unsigned kDayBits = 32;
    const auto [entry, isNew] = _byPersonAndDay.try_emplace(chat.personNumber << kDayBits | day, _buckets.size());
    if (isNew) _buckets.push_back({entry->second, chat.person, chat.handle, {}});
    return entry->second;
  }

  const ChatParticipants& _chatHandles;
  const HandleMatcher& _matcher;
  const LocalCalendar& _calendar;
  std::unordered_map<std::int64_t, Chat> _chats;
  std::unordered_map<Uuid, std::uint64_t> _personNumbers;
  std::unordered_map<std::uint64_t, std::size_t> _byPersonAndDay;
  std::vector<Bucket> _buckets;
  std::int64_t _lastChatID = 0;
  Chat* _lastChat = nullptr;
};

// By date, then row id, each row id once.
void putInOrder(std::vector<std::size_t>& indexes, const Messages& messages) {
  const auto isEarlier = [&](std::size_t left, std::size_t right) {
    const HistoryMessage& first = messages[left];
    const HistoryMessage& second = messages[right];
    if (first.date != second.date) return first.date < second.date;
    return first.rowID != second.rowID ? first.rowID < second.rowID : left < right;
  };
  if (!std::is_sorted(indexes.begin(), indexes.end(), isEarlier)) std::sort(indexes.begin(), indexes.end(), isEarlier);
  const auto isNotAscending = [&](std::size_t left, std::size_t right) {
    return messages[left].rowID >= messages[right].rowID;
  };
  if (std::adjacent_find(indexes.begin(), indexes.end(), isNotAscending) == indexes.end()) return;
  std::unordered_set<std::int64_t> seen;
  std::erase_if(indexes, [&](std::size_t index) { return !seen.insert(messages[index].rowID).second; });
}

bool endsInQuestionMark(std::string_view text) {
  return text::endsWithCharacter(text::trimmed(text), "?");
}

void fillFromLines(MessagesDayDraft& draft, std::string_view firstName, const LocalCalendar& calendar) {
  MessagesDayRecord& record = draft.record;
  std::vector<std::string_view> sent;
  for (const MessageLine& line : draft.lines)
    if (line.fromMe) sent.push_back(line.text);
  record.sentCount = static_cast<std::int64_t>(sent.size());
  record.receivedCount = static_cast<std::int64_t>(draft.lines.size() - sent.size());
  record.startedByMe = draft.lines.front().fromMe;
  record.waitingOnYou = !draft.lines.back().fromMe && endsInQuestionMark(draft.lines.back().text);
  record.sentURLs = links(sent);
  record.birthdayHint = std::any_of(sent.begin(), sent.end(), BirthdayFinder::holdsGreeting);
  // A birthday that was found was hinted at.
  if (record.birthdayHint)
    record.birthday = BirthdayFinder::find(draft.lines, firstName, record.firstMessageAt, calendar);
}

// The bucket's messages are in order; their texts move into the draft.
MessagesDayDraft finalized(const Bucket& bucket, Messages& messages, std::string_view firstName,
                           const LocalCalendar& calendar) {
  MessagesDayDraft draft;
  const HistoryMessage& first = messages[bucket.messages.front()];
  draft.record.personID = bucket.person;
  draft.record.day = calendar.dayString(first.date);
  draft.record.handle = *bucket.handle;
  draft.record.firstMessageAt = first.date;
  draft.record.lastMessageAt = messages[bucket.messages.back()].date;
  draft.lines.reserve(bucket.messages.size());
  for (const std::size_t index : bucket.messages)
    draft.lines.push_back({messages[index].isFromMe, std::move(messages[index].text)});
  fillFromLines(draft, firstName, calendar);
  return draft;
}

}  // namespace

std::vector<MessagesDayDraft> drafts(Messages messages, const ChatParticipants& chatHandles,
                                     const HandleMatcher& matcher,
                                     const std::unordered_map<Uuid, std::string>& firstNames,
                                     const LocalCalendar& calendar) {
  Grouping grouping(chatHandles, matcher, calendar);
  for (std::size_t index = 0; index < messages.size(); ++index) grouping.add(messages[index], index);
  std::vector<Bucket>& buckets = grouping.buckets();
  for (Bucket& bucket : buckets) putInOrder(bucket.messages, messages);
  std::sort(buckets.begin(), buckets.end(), [&](const Bucket& left, const Bucket& right) {
    const Instant first = messages[left.messages.back()].date;
    const Instant second = messages[right.messages.back()].date;
    return first != second ? first < second : left.number < right.number;
  });
  std::vector<MessagesDayDraft> result;
  result.reserve(buckets.size());
  for (const Bucket& bucket : buckets) {
    const auto name = firstNames.find(bucket.person);
    result.push_back(
        finalized(bucket, messages, name == firstNames.end() ? std::string_view() : name->second, calendar));
  }
  return result;
}

std::vector<std::string> links(const std::vector<std::string_view>& texts) {
  const LinkDetector detector;
  std::vector<std::string> result;
  std::unordered_set<std::string> seen;
  for (const std::string_view text : texts)
    for (LinkDetector::Link& link : detector.links(text))
      if ((link.scheme == "http" || link.scheme == "https") && seen.insert(link.absoluteUrl).second)
        result.push_back(std::move(link.absoluteUrl));
  return result;
}

std::optional<ChatSpan> chatSpan(const Messages& messages, const LocalCalendar& calendar) {
  if (messages.empty()) return std::nullopt;
  ChatSpan span;
  Instant earliest = messages.front().date;
  for (const HistoryMessage& message : messages) {
    span.chats.insert(message.chatID);
    earliest = std::min(earliest, message.date);
  }
  span.since = calendar.startOfDay(earliest);
  return span;
}

}  // namespace pellora::MessagesDayBuilder
