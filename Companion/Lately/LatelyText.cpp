#include "Companion/Lately/LatelyText.h"

#include "Companion/Output/DateText.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/TextTable.h"
#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora::lately_text {

namespace {

using Ink = OutputStyle::Ink;

constexpr std::size_t kIndent = 2;
constexpr std::size_t kDateWidth = 13;

std::string ago(const std::optional<Instant>& instant, const CompanionContext& context) {
  return instant ? RelativeDate::text(*instant, context.now, context.calendar) : "not in this time";
}

// A dated entry whose text goes on under itself.
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

std::string overview(const LatelyStore& store, const CompanionContext& context) {
  if (store.records.empty() && store.unreadable == 0)
    return "There are no lately records yet; they come with the helper's next read.\n";
  TextTable table({{"Person"},
                   {"You last wrote"},
                   {"Last message"},
                   {"Sent", TextTable::Side::right},
                   {"Received", TextTable::Side::right},
                   {"Days", TextTable::Side::right},
                   {"Summary"}});
  for (const NamedLately& lately : store.records) {
    const MessagesLatelyRecord& record = lately.record;
    table.add({lately.title(), ago(record.lastTalkedAt, context), ago(record.lastMessageAt, context),
               std::to_string(record.sentCount), std::to_string(record.receivedCount), std::to_string(record.dayCount),
               record.summary.value_or("")});
  }
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
  const auto days = static_cast<std::size_t>(std::max<std::int64_t>(record.dayCount, 0));
  text += "\n" + paragraph("You last wrote " + ago(record.lastTalkedAt, context) + "; the last message was " +
                               ago(record.lastMessageAt, context) + ".",
                           context);
  text += paragraph(std::to_string(record.sentCount) + " sent and " + std::to_string(record.receivedCount) +
                        " received on " + display::counted(days, "day", "days") + " of " +
                        std::to_string(record.windowDays) + ".",
                    context);
  if (strip && !strip->isEmpty()) text += "\n" + strip->text(context.style);
  if (record.summary) text += "\n" + paragraph(*record.summary, context);
  text += section("News", newsEntries(record, context), context);
  text += section("Met", meetupEntries(record, context), context);
  text += section("Birthdays", birthdayEntries(lately, context), context);
  text += section("Links you sent", linkEntries(record, context), context);
  return text;
}

}  // namespace pellora::lately_text
