#include "Companion/Lately/LatelyPage.h"

#include <openssl/evp.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>

#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

// Pieces of a page for a browser.
namespace html {

std::string_view entityOf(char byte) {
  switch (byte) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

// As a policy names a style sheet.
std::string hashOf(std::string_view style) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_Digest(style.data(), style.size(), digest, &size, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("The cryptographic library cannot hash the page's style.");
  unsigned char text[2 * EVP_MAX_MD_SIZE];
  const int length = EVP_EncodeBlock(text, digest, static_cast<int>(size));
  return "sha256-" + std::string(text, text + length);
}

// Escaped for text and attributes of HTML, without characters that change the direction of writing.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char byte : display::printable(text)) {
    const std::string_view entity = entityOf(byte);
    entity.empty() ? result += byte : result += entity;
  }
  return result;
}

// <a>, for addresses of the web only; anything else stays text. The page that it leads to does not learn where the
// visitor came from.
std::string link(std::string_view url) {
  const std::string shown = escaped(url);
  const bool isWeb = text::prefixLengthIgnoringCase(url, "https://") || text::prefixLengthIgnoringCase(url, "http://");
  return isWeb ? "<a rel=\"noopener noreferrer\" href=\"" + shown + "\">" + shown + "</a>" : shown;
}

// "<h2>heading</h2>" and the list; empty without items.
std::string section(std::string_view tag, std::string_view heading, std::string_view items) {
  if (items.empty()) return {};
  const std::string name(tag);
  return "<section>\n<" + name + ">" + std::string(heading) + "</" + name + ">\n<ul>\n" + std::string(items) +
         "</ul>\n</section>\n";
}

// A whole page. It may show what is in it and this style sheet, and nothing else: the policy forbids scripts, forms
// and anything from elsewhere, and admits the style by its hash.
std::string document(std::string_view title, std::string_view style, std::string_view body) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '" +
         hashOf(style) +
         "'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
         escaped(title) + "</title>\n<style>" + std::string(style) + "</style>\n</head>\n<body>\n" + std::string(body) +
         "</body>\n</html>\n";
}

}  // namespace html

constexpr std::size_t kMostNewest = 12;  // entries of each kind in the overview; each person's list has them all

constexpr std::string_view kStyle = R"(
:root { color-scheme: light dark; --ink: #1d2330; --soft: #5b6377; --card: #ffffff; --page: #f3f4f8; --line: #dadde6;
  --sent: #2a7454; --received: #4668ab; --waits: #8a4b00; --waitsback: #fdf1df; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e7e9f0; --soft: #a3abbd; --card: #1f2430; --page: #151922; --line: #3a4152; --sent: #5fb990;
    --received: #8fade6; --waits: #f3c888; --waitsback: #3b2f1c; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 60rem; padding: 1.5rem; background: var(--page); color: var(--ink);
  font: 16px/1.5 system-ui, sans-serif; overflow-wrap: anywhere; }
header { margin-bottom: 1.2rem; } h1 { font-size: 1.7rem; line-height: 1.2; margin: 0; }
h2 { font-size: 1.25rem; margin: 0; } h3 { font-size: .95rem; margin: 1.1rem 0 .2rem; color: var(--soft); }
p { margin: .4rem 0; } ul { margin: 0; padding: 0; list-style: none; }
.soft, footer { color: var(--soft); } .summary { font-size: 1.05rem; } footer { font-size: .85rem; }
.card, .people { background: var(--card); border: 1px solid var(--line); border-radius: 12px; margin-bottom: 1.2rem; }
.card { padding: 1.1rem 1.3rem; } .people { padding: .3rem 1.3rem; } .legend { margin: 0 0 .4rem; font-size: .9rem; }
.people li { display: grid; grid-template-columns: minmax(9rem, 1fr) minmax(10rem, 1.4fr) minmax(7rem, auto);
  gap: .3rem 1.2rem; align-items: center; padding: .7rem 0; border-bottom: 1px solid var(--line); }
.people li:last-child { border-bottom: 0; } .people svg { margin: 0; }
.people .name { font-weight: 600; } .people .counts { text-align: right; color: var(--soft); font-size: .9rem; }
.newest { columns: 20rem; column-gap: 1.2rem; margin-bottom: 1.2rem; }
.newest section { break-inside: avoid; background: var(--card); border: 1px solid var(--line); border-radius: 12px;
  padding: 1.1rem 1.3rem; } .newest section:not(:first-child) { margin-top: 1.2rem; } .newest h2 { font-size: 1.05rem; margin-bottom: .3rem; }
section > ul > li { display: flex; gap: .8rem; padding: .12rem 0; }
section > ul > li > time, section > ul > li > .when { color: var(--soft); width: 6.9rem; flex: none; }
.waits { display: inline-block; color: var(--waits); background: var(--waitsback); border-radius: 6px;
  padding: 0 .5rem; } .warning { border-left: 4px solid var(--waits); padding-left: .7rem; }
figure { margin: .6rem 0 0; max-width: 42rem; } figcaption { display: flex; justify-content: space-between;
  color: var(--soft); font-size: .8rem; } svg { display: block; width: 100%; height: auto; }
svg line { stroke: var(--line); } .sent { fill: var(--sent); } .received { fill: var(--received); }
.key { display: inline-block; width: .7rem; height: .7rem; border-radius: 2px; margin-right: .35rem; }
.key.sent { background: var(--sent); } .key.received { background: var(--received); margin-left: .8rem; }
a { color: var(--received); } details { margin-top: .3rem; color: var(--soft); font-size: .9rem; }
table { border-collapse: collapse; } th, td { text-align: right; padding: .1rem .9rem .1rem 0; font-weight: normal; }
th:first-child { text-align: left; }
@media (max-width: 36rem) {
  body { padding: .8rem; } .card, .newest section { padding: .9rem 1rem; } .people { padding: .2rem 1rem; }
  .people li { grid-template-columns: 1fr auto; } .people li > svg { grid-column: 1 / -1; grid-row: 2; }
  section > ul > li > time, section > ul > li > .when { width: 6.9rem; } }
@media print {
  :root { color-scheme: light; --ink: #000; --soft: #444; --card: #fff; --page: #fff; --line: #bbb; --sent: #2a7454;
    --received: #4668ab; --waits: #6b3a00; --waitsback: #fff; }
  body { max-width: none; padding: 0; font-size: 11pt; } .card, .newest section { break-inside: avoid; }
  svg rect, .key { print-color-adjust: exact; -webkit-print-color-adjust: exact; } details { display: none; } }
)";

std::string counts(const MessagesLatelyRecord& record) {
  return "<span class=\"key sent\"></span>" + std::to_string(record.sentCount) +
         " sent<span class=\"key received\"></span>" + std::to_string(record.receivedCount) + " received";
}

std::string anchorOf(const NamedLately& lately) {
  return "person-" + lately.record.personID.toString();
}

// The next time this day of the year comes, today included. Months and days from files may be no date at all.
LocalCalendar::Date nextDate(const MessagesBirthday& birthday, const LocalCalendar::Date& today) {
  const bool isOver = std::tie(birthday.month, birthday.day) < std::tie(today.month, today.day);
  return {today.year + (isOver ? 1 : 0), birthday.month, birthday.day};
}

std::string newsMarkup(const MessagesNews& news) {
  const std::string when = news.when.empty() ? "" : " <span class=\"soft\">(" + html::escaped(news.when) + ")</span>";
  return html::escaped(news.sentence) + when;
}

std::string together(const MessagesMeetup& meetup) {
  return meetup.what.empty() ? "together" : meetup.what;
}

std::string numbersOf(const DayStrip& strip) {
  std::string rows;
  for (const DayStrip::Day& day : strip.days)
    if (day.sent > 0 || day.received > 0)
      rows += "<tr><th scope=\"row\">" + date_text::shortDate(day.date) + "</th><td>" + std::to_string(day.sent) +
              "</td><td>" + std::to_string(day.received) + "</td></tr>\n";
  return "<details><summary>Numbers per day</summary>\n<table><thead><tr><th scope=\"col\">Day</th>"
         "<th scope=\"col\">Sent</th><th scope=\"col\">Received</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody></table></details>\n";
}

}  // namespace

std::string LatelyPage::time(Instant instant) const {
  return "<time datetime=\"" + IsoDate::text(instant) + "\">" +
         html::escaped(date_text::weekdayDate(instant, _context.now, _context.calendar)) + "</time>";
}

std::string LatelyPage::item(Instant instant, const std::string& markup) const {
  return "<li>" + time(instant) + "<span>" + markup + "</span></li>\n";
}

DayStrip LatelyPage::stripOf(const NamedLately& lately) const {
  return DayStrip::of(lately.record.personID, _notes, _context.now, _context.calendar);
}

std::string LatelyPage::waiting(const NamedLately& lately) const {
  const auto since = lately.waitsSince(_context.now);
  return since ? "<span class=\"waits\">Waiting for your reply since " + time(*since) + "</span>" : "";
}

std::string LatelyPage::chart(const NamedLately& lately, const DayStrip& strip) const {
  const MessagesLatelyRecord& record = lately.record;
  return strip.picture(html::escaped("Texts with " + lately.title() + " per day: " + std::to_string(record.sentCount) +
                                     " sent and " + std::to_string(record.receivedCount) + " received on " +
                                     std::to_string(record.dayCount) + " days")) +
         "\n";
}

std::string LatelyPage::facts(const NamedLately& lately) const {
  const MessagesLatelyRecord& record = lately.record;
  const std::string wrote = record.lastTalkedAt ? "you last wrote on " + time(*record.lastTalkedAt)
                                                : std::string("you have not written in this time");
  std::string text = "<p class=\"soft\">Last message " + time(record.lastMessageAt) + "; " + wrote + ".";
  if (lately.newestDay)
    text += " " + html::escaped(lately.newestDay->startedByMe ? "You" : lately.title()) + " began " +
            (lately.newestDay->lastMessageAt == record.lastMessageAt ? "that day" : "on the newest day") + ".";
  const std::string waits = waiting(lately);
  if (!waits.empty()) text += "</p>\n<p>" + waits;
  return text + "</p>\n<p class=\"soft\">" + counts(record) + "</p>\n";
}

std::string LatelyPage::findings(const NamedLately& lately) const {
  const MessagesLatelyRecord& record = lately.record;
  std::string news;
  for (const MessagesNews& one : record.news) news += item(one.messageAt, newsMarkup(one));
  std::string met;
  for (const MessagesMeetup& one : record.meetups.value_or(std::vector<MessagesMeetup>()))
    met += item(one.day, html::escaped(together(one)));
  std::string birthdays;
  for (const MessagesBirthday& one : record.birthdays.value_or(std::vector<MessagesBirthday>()))
    birthdays += "<li><span class=\"when\">" + date_text::dayOfYear(one.month, one.day) + "</span><span>" +
                 html::escaped(lately_text::birthdayText(one, lately.title())) + "</span></li>\n";
  std::string links;
  for (const auto& one : record.sentLinks) links += item(one.sentAt, html::link(one.url));
  return html::section("h3", "News", news) + html::section("h3", "Met", met) +
         html::section("h3", "Birthdays", birthdays) + html::section("h3", "Links you sent", links);
}

std::string LatelyPage::person(const NamedLately& lately) const {
  const MessagesLatelyRecord& record = lately.record;
  std::string html =
      "<article class=\"card\" id=\"" + anchorOf(lately) + "\">\n<h2>" + html::escaped(lately.title()) + "</h2>\n";
  const std::string warning = lately_text::warning(lately, _context);
  if (!warning.empty()) html += "<p class=\"warning\">" + html::escaped(warning) + "</p>\n";
  if (lately.isQuiet(_context.now))
    return html + "<p class=\"soft\">Nothing in the last " + std::to_string(record.windowDays) +
           " days; the last message was on " + time(record.lastMessageAt) + ".</p>\n</article>\n";
  html += facts(lately);
  if (record.summary) html += "<p class=\"summary\">" + html::escaped(*record.summary) + "</p>\n";
  const DayStrip strip = stripOf(lately);
  if (!strip.isEmpty())
    html += "<figure>" + chart(lately, strip) + "<figcaption><span>" + date_text::shortDate(strip.days.front().date) +
            "</span><span>" + date_text::shortDate(strip.days.back().date) + "</span></figcaption></figure>\n" +
            numbersOf(strip);
  return html + findings(lately) + "</article>\n";
}

std::string LatelyPage::rowOfPerson(const NamedLately& lately) const {
  const bool isQuiet = lately.isQuiet(_context.now);
  const std::string waits = waiting(lately);
  const std::string state =
      waits.empty() ? "<span class=\"soft\">Last message " + time(lately.record.lastMessageAt) + "</span>" : waits;
  std::string html = "<li><div><a class=\"name\" href=\"#" + anchorOf(lately) + "\">" + html::escaped(lately.title()) +
                     "</a><br>" + state + "</div>\n";
  const DayStrip strip = stripOf(lately);
  html += strip.isEmpty() || isQuiet ? "<span></span>\n" : chart(lately, strip);
  const std::string text = isQuiet ? "nothing in the last " + std::to_string(lately.record.windowDays) + " days"
                                   : std::to_string(lately.record.sentCount) + " sent<br>" +
                                         std::to_string(lately.record.receivedCount) + " received";
  return html + "<div class=\"counts\">" + text + "</div></li>\n";
}

std::string LatelyPage::comingBirthdays(const Records& records) const {
  const LocalCalendar::Date today = _context.calendar.date(_context.now);
  struct Coming {
    LocalCalendar::Date date;
    std::string markup;
  };
  std::vector<Coming> coming;
  for (const NamedLately& lately : records) {
    for (const MessagesBirthday& one : lately.record.birthdays.value_or(std::vector<MessagesBirthday>())) {
      const LocalCalendar::Date date = nextDate(one, today);
      const int years = date.year - _context.calendar.date(one.wishedAt).year;
      std::string text = one.name.value_or(lately.title());
      if (one.name) text += " (" + lately.title() + ")";
      if (one.age && years >= 0) text += ", turning " + std::to_string(*one.age + years);
      coming.push_back({date, html::escaped(text)});
    }
  }
  std::stable_sort(coming.begin(), coming.end(), [](const Coming& left, const Coming& right) {
    return std::tie(left.date.year, left.date.month, left.date.day) <
           std::tie(right.date.year, right.date.month, right.date.day);
  });
  std::string items;
  for (const Coming& one : coming)
    items += "<li><span class=\"when\">" + date_text::dayOfYear(one.date.month, one.date.day) + " " +
             std::to_string(one.date.year) + "</span><span>" + one.markup + "</span></li>\n";
  return items;
}

std::string LatelyPage::newest(const Records& records) const {
  struct Entry {
    Instant at;
    std::string markup;
  };
  std::vector<Entry> news;
  std::vector<Entry> met;
  for (const NamedLately& lately : records) {
    if (lately.isQuiet(_context.now)) continue;
    for (const MessagesNews& one : lately.record.news) news.push_back({one.messageAt, newsMarkup(one)});
    for (const MessagesMeetup& one : lately.record.meetups.value_or(std::vector<MessagesMeetup>()))
      met.push_back({one.day, html::escaped(lately.title() + ": " + together(one))});
  }
  const auto items = [this](std::vector<Entry>& entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return b.at < a.at; });
    if (entries.size() > kMostNewest) entries.resize(kMostNewest);
    std::string text;
    for (const Entry& entry : entries) text += item(entry.at, entry.markup);
    return text;
  };
  const std::string sections = html::section("h2", "News", items(news)) + html::section("h2", "Met", items(met)) +
                               html::section("h2", "Coming birthdays", comingBirthdays(records));
  return sections.empty() ? "" : "<div class=\"newest\">\n" + sections + "</div>\n";
}

std::string LatelyPage::overview(const Records& records) const {
  std::string rows;
  for (const NamedLately& lately : records) rows += rowOfPerson(lately);
  return "<p class=\"legend soft\"><span class=\"key sent\"></span>sent<span class=\"key received\"></span>received, "
         "per day</p>\n<nav aria-label=\"People\">\n<ul class=\"people\">\n" +
         rows + "</ul>\n</nav>\n" + newest(records);
}

std::string LatelyPage::whole(const std::string& body) const {
  return html::document("Lately", kStyle,
                        "<header>\n<h1>Lately</h1>\n<p class=\"soft\">Texts of the last " +
                            std::to_string(DayStrip::kDays) + " days, as of " + time(_context.now) +
                            "</p>\n</header>\n<main>\n" + body +
                            "</main>\n<footer>The texts themselves are not in this page.</footer>\n");
}

std::string LatelyPage::html(const std::vector<NamedLately>& records) const {
  if (records.empty()) return html("There are no lately records yet; they come with the helper's next read.");
  std::string body = records.size() > 1 ? overview(records) : "";
  for (const NamedLately& lately : records) body += person(lately);
  return whole(body);
}

std::string LatelyPage::html(const std::string& obstacle) const {
  return whole("<p class=\"card\">" + html::escaped(obstacle) + "</p>\n");
}

}  // namespace pellora
