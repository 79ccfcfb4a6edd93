#include "Companion/Lately/LatelyPage.h"

#include "Companion/Lately/DayChart.h"
#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/DateText.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora {

namespace {

// The policy makes sure of it: no scripts, nothing from elsewhere.
constexpr std::string_view kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="referrer" content="no-referrer">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<title>Lately</title>
<style>
:root { color-scheme: light dark; --ink: #1d2330; --soft: #687086; --card: #ffffff; --page: #f3f4f8; --line: #dfe2ea;
  --sent: #2f7d5b; --received: #4a6fb5; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e7e9f0; --soft: #9aa2b5; --card: #1f2430; --page: #151922; --line: #343b4b; --sent: #5fb990;
    --received: #86a6e2; } }
body { margin: 0 auto; max-width: 46rem; padding: 1.5rem; background: var(--page); color: var(--ink);
  font: 16px/1.5 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.6rem; margin: 0 0 1rem; }
article { background: var(--card); border: 1px solid var(--line); border-radius: 12px; padding: 1.1rem 1.3rem;
  margin-bottom: 1.2rem; }
h2 { font-size: 1.25rem; margin: 0; } h3 { font-size: .95rem; margin: 1rem 0 .2rem; color: var(--soft); }
p { margin: .4rem 0; } .soft { color: var(--soft); } .summary { font-size: 1.05rem; }
ul { margin: 0; padding: 0; list-style: none; } li { display: flex; gap: .8rem; }
time { color: var(--soft); min-width: 5.5rem; flex: none; }
svg { width: 100%; height: auto; margin-top: .6rem; } svg line { stroke: var(--line); }
svg text { fill: var(--soft); font-size: 12px; } .sent { fill: var(--sent); } .received { fill: var(--received); }
a { color: var(--received); } footer { color: var(--soft); font-size: .85rem; }
.key { display: inline-block; width: .7rem; height: .7rem; border-radius: 2px; margin-right: .3rem; }
.key.sent { background: var(--sent); } .key.received { background: var(--received); margin-left: .8rem; }
</style>
</head>
<body>
<h1>Lately</h1>
)";

std::string item(const std::string& date, const std::string& markup) {
  return "<li><time>" + LatelyPage::escaped(date) + "</time><span>" + markup + "</span></li>\n";
}

std::string section(const std::string& heading, const std::string& items) {
  return items.empty() ? "" : "<h3>" + heading + "</h3>\n<ul>\n" + items + "</ul>\n";
}

std::string linkMarkup(const std::string& url) {
  const std::string shown = LatelyPage::escaped(url);
  const bool isWeb = text::prefixLengthIgnoringCase(url, "https://") || text::prefixLengthIgnoringCase(url, "http://");
  return isWeb ? "<a rel=\"noopener noreferrer\" href=\"" + shown + "\">" + shown + "</a>" : shown;
}

}  // namespace

std::string LatelyPage::escaped(std::string_view text) {
  std::string result;
  for (const char byte : display::printable(text)) {
    switch (byte) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += byte;
    }
  }
  return result;
}

std::string LatelyPage::ago(Instant instant) const {
  return RelativeDate::text(instant, _context.now, _context.calendar);
}

std::string LatelyPage::date(Instant instant) const {
  return date_text::date(instant, _context.now, _context.calendar);
}

std::string LatelyPage::facts(const MessagesLatelyRecord& record) const {
  const std::string wrote = record.lastTalkedAt ? "You last wrote " + ago(*record.lastTalkedAt) : "You did not write";
  return "<p class=\"soft\">" + escaped(wrote) + " · last message " + escaped(ago(record.lastMessageAt)) +
         "</p>\n<p class=\"soft\"><span class=\"key sent\"></span>" + std::to_string(record.sentCount) +
         " sent<span class=\"key received\"></span>" + std::to_string(record.receivedCount) + " received</p>\n";
}

std::string LatelyPage::findings(const NamedLately& lately) const {
  const MessagesLatelyRecord& record = lately.record;
  std::string news;
  for (const MessagesNews& one : record.news) {
    const std::string when = one.when.empty() ? "" : " <span class=\"soft\">(" + escaped(one.when) + ")</span>";
    news += item(date(one.messageAt), escaped(one.sentence) + when);
  }
  std::string met;
  for (const MessagesMeetup& one : record.meetups.value_or(std::vector<MessagesMeetup>()))
    met += item(date(one.day), escaped(one.what.empty() ? "together" : one.what));
  std::string birthdays;
  for (const MessagesBirthday& one : record.birthdays.value_or(std::vector<MessagesBirthday>()))
    birthdays +=
        item(date_text::dayOfYear(one.month, one.day), escaped(lately_text::birthdayText(one, lately.title())));
  std::string links;
  for (const auto& link : record.sentLinks) links += item(date(link.sentAt), linkMarkup(link.url));
  return section("News", news) + section("Met", met) + section("Birthdays", birthdays) +
         section("Links you sent", links);
}

std::string LatelyPage::person(const NamedLately& lately) const {
  const MessagesLatelyRecord& record = lately.record;
  const DayStrip strip = DayStrip::of(record.personID, _notes, _context.now, _context.calendar);
  std::string html = "<article>\n<h2>" + escaped(lately.title()) + "</h2>\n" + facts(record);
  if (record.summary) html += "<p class=\"summary\">" + escaped(*record.summary) + "</p>\n";
  if (!strip.isEmpty()) html += dayChart(strip) + "\n";
  return html + findings(lately) + "</article>\n";
}

std::string LatelyPage::html(const std::vector<NamedLately>& records) const {
  std::string html(kHead);
  for (const NamedLately& lately : records) html += person(lately);
  if (records.empty()) html += "<p>There are no lately records yet.</p>\n";
  return html + "<footer>Written " + escaped(date(_context.now)) + ". Message texts are not in this page.</footer>\n" +
         "</body>\n</html>\n";
}

}  // namespace pellora
