#include "Companion/Lately/LatelyText.h"

#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora::lately_text {

namespace {

using Ink = OutputStyle::Ink;

constexpr std::size_t kIndent = 2;
constexpr std::size_t kDateWidth = 13;

std::string ago(Instant instant, const CompanionContext& context) {
  return RelativeDate::text(instant, context.now, context.calendar);
}

std::string dayInWords(Instant instant, const CompanionContext& context) {
  return date_text::dayInWords(instant, context.now, context.calendar);
}

// "today" and "yesterday" as they are, dates with "on".
std::string onDay(Instant instant, const CompanionContext& context) {
  const std::string words = dayInWords(instant, context);
  return words == "today" || words == "yesterday" ? words : "on " + words;
}

std::string nothingIn(const MessagesLatelyRecord& record) {
  return "Nothing in the last " + std::to_string(record.windowDays) + " days.";
}

// A dated entry whose text continues below itself.
std::string entry(const std::string& date, const std::string& text, const CompanionContext& context) {
  const std::size_t margin = kIndent + kDateWidth;
  const std::size_t width = context.style.textWidth();
  std::string result;
  for (const std::string& line :
       display::wrapped(display::printable(text), width > 2 * margin ? width - margin : width)) {
    const std::string head = display::padded(result.empty() ? date : "", kDateWidth);
    result += std::string(kIndent, ' ') + context.style.paint(Ink::dim, head) + line + "\n";
  }
  return result;
}

std::string section(const std::string& heading, const std::string& entries, const CompanionContext& context) {
  return entries.empty() ? "" : "\n" + context.style.paint(Ink::bold, heading) + "\n" + entries;
}

std::string newsEntries(const MessagesLatelyRecord& record, const CompanionContext& context) {
  std::string text;
  for (const MessagesNews& news : record.news) {
    const std::string kind(kNewsKindNames[static_cast<std::size_t>(news.kind)]);
    const std::string when = news.when.empty() ? "" : " (" + news.when + ")";
    text += entry(date_text::date(news.messageAt, context.now, context.calendar),
                  news.sentence + when + " [" + kind + "]", context);
  }
  return text;
}

std::string meetupEntries(const MessagesLatelyRecord& record, const CompanionContext& context) {
  std::string text;
  if (!record.meetups) return text;
  for (const MessagesMeetup& meetup : *record.meetups)
    text += entry(date_text::date(meetup.day, context.now, context.calendar),
                  meetup.what.empty() ? "together" : meetup.what, context);
  return text;
}

std::string birthdayEntries(const NamedLately& lately, const CompanionContext& context) {
  std::string text;
  if (!lately.record.birthdays) return text;
  for (const MessagesBirthday& birthday : *lately.record.birthdays)
    text += entry(date_text::dayOfYear(birthday.month, birthday.day), birthdayText(birthday, lately.title()), context);
  return text;
}

std::string linkEntries(const MessagesLatelyRecord& record, const CompanionContext& context) {
  std::string text;
  for (const auto& link : record.sentLinks)
    text += entry(date_text::date(link.sentAt, context.now, context.calendar), link.url, context);
  return text;
}

std::string paragraph(const std::string& text, const CompanionContext& context) {
  std::string result;
  for (const std::string& line : display::wrapped(display::printable(text), context.style.textWidth()))
    result += line + "\n";
  return result;
}

}  // namespace

std::string birthdayText(const MessagesBirthday& birthday, const std::string& title) {
  std::string text = birthday.name.value_or(title) + "'s birthday";
  if (birthday.age) text += ", " + std::to_string(*birthday.age) + " years old";
  return text;
}

std::string warning(const NamedLately& lately, const CompanionContext& context) {
  if (lately.isForgotten)
    return "The messages that this record is about are no longer in the store: they were deleted, or are now in "
           "somebody else's chat.";
  if (!lately.isOlderThan) return {};
  const auto written = [&](Instant instant) { return date_text::date(instant, context.now, context.calendar); };
  return "This record is older than one shown before (it was written on " + written(lately.record.writtenAt) +
         ", the other on " + written(*lately.isOlderThan) +
         "): old files may have been put back. The helper's next read replaces it.";
}

std::string whoBegan(const NamedLately& lately, const CompanionContext& context) {
  if (!lately.newestDay) return {};
  return (lately.newestDay->startedByMe ? "You" : lately.title()) + " began " +
         onDay(lately.newestDay->lastMessageAt, context) + ".";
}

namespace {

// The details that the table has no column for.
std::vector<std::string> notesOf(const NamedLately& lately, const CompanionContext& context) {
  std::vector<std::string> notes;
  if (std::string text = warning(lately, context); !text.empty()) notes.push_back(std::move(text));
  if (lately.isQuiet(context.now)) {
    notes.push_back(nothingIn(lately.record));
    return notes;
  }
  if (const auto since = lately.waitsSince(context.now))
    notes.push_back("Waiting for your reply since " + dayInWords(*since, context) + ".");
  if (lately.record.summary) notes.push_back(*lately.record.summary);
  return notes;
}

void addRow(TextTable& table, const NamedLately& lately, const CompanionContext& context) {
  const MessagesLatelyRecord& record = lately.record;
  const std::string lastMessage = ago(record.lastMessageAt, context);
  if (lately.isQuiet(context.now)) return table.add({lately.title(), lastMessage}, notesOf(lately, context));
  const std::string began = !lately.newestDay ? "" : lately.newestDay->startedByMe ? "you" : "they";
  table.add({lately.title(), lastMessage, began,
             record.lastTalkedAt ? dayInWords(*record.lastTalkedAt, context) : "not in this time",
             std::to_string(record.sentCount), std::to_string(record.receivedCount), std::to_string(record.dayCount)},
            notesOf(lately, context));
}

// The sentences at the head of a person's page.
std::string facts(const NamedLately& lately, const CompanionContext& context) {
  const MessagesLatelyRecord& record = lately.record;
  const auto days = static_cast<std::size_t>(std::max<std::int64_t>(record.dayCount, 0));
  std::string sentence = "The last message was " + ago(record.lastMessageAt, context) + "; ";
  sentence += record.lastTalkedAt ? "you last wrote " + onDay(*record.lastTalkedAt, context) + "."
                                  : "you have not written in this time.";
  if (lately.newestDay) sentence += " " + whoBegan(lately, context);
  std::string text = paragraph(sentence, context);
  if (const auto since = lately.waitsSince(context.now)) {
    const std::string waits = lately.title() + " has been waiting for your reply since " + dayInWords(*since, context);
    text += context.style.paint(Ink::yellow, display::printable(waits) + ".") + "\n";
  }
  return text + paragraph(std::to_string(record.sentCount) + " sent and " + std::to_string(record.receivedCount) +
                              " received on " + display::counted(days, "day", "days") + " of " +
                              std::to_string(record.windowDays) + ".",
                          context);
}

}  // namespace

std::string overview(const LatelyStore& store, const CompanionContext& context) {
  if (store.records.empty() && store.unreadable == 0)
    return "There are no lately records yet; they come with the helper's next read.\n";
  TextTable table({{"Person"},
                   {"Last message"},
                   {"Began"},
                   {"You last wrote"},
                   {"Sent", TextTable::Side::right},
                   {"Received", TextTable::Side::right},
                   {"Days", TextTable::Side::right}});
  for (const NamedLately& lately : store.records) addRow(table, lately, context);
  std::string text = store.records.empty() ? "" : table.render(context.style);
  if (store.unreadable > 0)
    text += context.style.paint(Ink::yellow, display::counted(store.unreadable, "file", "files") +
                                                 " among the records cannot be read; \"pellora-companion sweep\" "
                                                 "removes what does not open.") +
            "\n";
  return text;
}

std::string page(const NamedLately& lately, const std::optional<DayStrip>& strip, const CompanionContext& context) {
  const MessagesLatelyRecord& record = lately.record;
  std::string text = context.style.paint(Ink::bold, display::printable(lately.title()));
  if (!record.handle.empty()) text += "  " + context.style.paint(Ink::dim, display::printable(record.handle));
  text += "\n" + paragraph(warning(lately, context), context);
  if (lately.isQuiet(context.now))
    return text +
           paragraph(nothingIn(record) + " The last message was " + ago(record.lastMessageAt, context) + ".", context);
  text += facts(lately, context);
  if (strip && !strip->isEmpty()) text += "\n" + strip->text(context.style);
  if (record.summary) text += "\n" + paragraph(*record.summary, context);
  text += section("News", newsEntries(record, context), context);
  text += section("Met", meetupEntries(record, context), context);
  text += section("Birthdays", birthdayEntries(lately, context), context);
  text += section("Links you sent", linkEntries(record, context), context);
  return text;
}

}  // namespace pellora::lately_text
