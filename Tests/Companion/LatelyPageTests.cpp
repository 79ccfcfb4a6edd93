// The page for a browser: what it shows, and what nothing in a record can make of it.
#include <gmock/gmock.h>

#include <filesystem>

#include "Companion/Commands/Commands.h"
#include "Companion/Lately/LatelyPage.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/ProgramRun.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

MessagesDayRecord dayOf(const HelperPerson& person, std::int64_t secondsAgo) {
  MessagesDayRecord day;
  day.personID = person.id;
  day.firstMessageAt = day.lastMessageAt = instantAtSeconds(CompanionWorld::kNow - secondsAgo);
  day.day = LocalCalendar::inTimeZone("UTC").dayString(day.lastMessageAt);
  day.sentCount = 3;
  day.receivedCount = 4;
  day.waitingOnYou = true;
  return day;
}

std::string pageOf(CompanionWorld& world) {
  return LatelyCommand{std::nullopt, false, "-"}.run(world.context()).output;
}

TEST(LatelyPage, WritesAPageThatRunsNothingAndFetchesNothing) {
  CompanionWorld world;
  HelperPerson person = CompanionWorld::anna();
  person.firstName = "<script>alert('x')</script>\"&";
  world.writePeople({person});
  MessagesLatelyRecord record = CompanionWorld::record(person, 7200);
  record.sentLinks = {{"javascript:alert(1)", record.lastMessageAt},
                      {"https://e.org/\"><img src=x>", record.lastMessageAt}};
  world.writeLately(record);
  const std::string file = world.shared() / "page.html";
  LatelyCommand{std::nullopt, false, file}.run(world.context());
  const std::string html = *AtomicFile::read(file);
  EXPECT_THAT(html, HasSubstr("&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;&quot;&amp;"));
  EXPECT_THAT(html,
              ContainsRegex("content=\"default-src 'none'; style-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; "
                            "form-action 'none'\""));
  EXPECT_THAT(html, Not(HasSubstr("style=")));
  EXPECT_THAT(html, Not(HasSubstr("<script")));
  EXPECT_THAT(html, Not(HasSubstr("<img")));
  EXPECT_THAT(html, Not(HasSubstr("href=\"javascript")));
  EXPECT_THAT(html, HasSubstr("</html>"));
}

TEST(LatelyPage, TimesAreDatesThatStayTrue) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 2 * CompanionWorld::kDay));
  world.writeNotes({{dayOf(CompanionWorld::anna(), 2 * CompanionWorld::kDay)}});
  const std::string html = pageOf(world);
  EXPECT_THAT(html, HasSubstr("as of <time datetime=\"2026-11-21T12:00:00Z\">Sat 21 Nov</time>"));
  EXPECT_THAT(html, HasSubstr("Last message <time datetime=\"2026-11-19T12:00:00Z\">Thu 19 Nov</time>; you last wrote "
                              "on <time datetime=\"2026-11-19T12:00:00Z\">Thu 19 Nov</time>. Anna began that day."));
  EXPECT_THAT(html,
              HasSubstr("Waiting for your reply since <time datetime=\"2026-11-19T12:00:00Z\">Thu 19 Nov</time>"));
  for (const char* moving : {" ago", "today", "yesterday"}) EXPECT_THAT(html, Not(HasSubstr(moving)));
}

TEST(LatelyPage, AnOverviewComesWithTheSecondPerson) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  EXPECT_THAT(pageOf(world), Not(HasSubstr("<nav")));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 9000));
  world.writeNotes({{dayOf(CompanionWorld::bob(), 9000)}});
  const std::string html = pageOf(world);
  EXPECT_THAT(html, HasSubstr("<nav aria-label=\"People\">"));
  EXPECT_THAT(html, ContainsRegex("href=\"#person-0B0B0B0B[-0-9]*\">Bob</a>")) << "links to the person's card";
  EXPECT_LT(html.find(">Bob</a>"), html.find(">Anna</a>")) << "whoever waits comes first";
  EXPECT_THAT(html, HasSubstr("aria-label=\"Texts with Bob per day: 12 sent and 34 received on 5 days\""));
  EXPECT_THAT(html, HasSubstr("<tr><th scope=\"row\">21 Nov</th><td>3</td><td>4</td></tr>"));
}

TEST(LatelyPage, BirthdaysAreListedByTheNextTimeTheyCome) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  const Instant now = instantAtSeconds(CompanionWorld::kNow);
  MessagesLatelyRecord first = CompanionWorld::record(CompanionWorld::anna(), 7200);
  first.birthdays = {{std::nullopt, 11, 20, 30, now}, {"Maya", 11, 21, 4, now}};
  MessagesLatelyRecord second = CompanionWorld::record(CompanionWorld::bob(), 7200);
  second.birthdays = {{std::nullopt, 12, 1, std::nullopt, now}};
  world.writeLately(first);
  world.writeLately(second);
  EXPECT_THAT(pageOf(world),
              HasSubstr("<h2>Coming birthdays</h2>\n<ul>\n"
                        "<li><span class=\"when\">21 Nov 2026</span><span>Maya (Anna), turning 4</span></li>\n"
                        "<li><span class=\"when\">1 Dec 2026</span><span>Bob</span></li>\n"
                        "<li><span class=\"when\">20 Nov 2027</span><span>Anna, turning 31</span></li>\n</ul>"));
}

TEST(LatelyPage, ARecordOutsideItsWindowIsShownAsNothing) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 31 * CompanionWorld::kDay));
  const std::string html = pageOf(world);
  EXPECT_THAT(html, HasSubstr("Nothing in the last 30 days; the last message was on"));
  EXPECT_THAT(html, Not(HasSubstr("12 sent")));
  EXPECT_THAT(html, Not(HasSubstr("concert")));
}

// The document as the browser has it, and what it complained about.
struct Shown {
  std::string document;
  std::string complaints;
};

Shown shownByBrowser(const std::string& browser, const std::filesystem::path& page) {
  support::ProgramRun run(
      {browser,
       {"--no-sandbox", "--disable-gpu", "--enable-logging=stderr",
        "--user-data-dir=" + (page.parent_path() / "browser").string(), "--dump-dom", "file://" + page.string()},
       {}});
  EXPECT_EQ(run.wait(), 0);
  return {run.output(), run.errors()};
}

TEST(LatelyPage, ABrowserShowsThePage) {
  const std::string browser = "/usr/bin/chromium-headless-shell";
  if (!std::filesystem::exists(browser)) GTEST_SKIP() << "chromium-headless-shell is not installed";
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  world.writeLately(CompanionWorld::record(CompanionWorld::bob(), 9000));
  world.writeNotes({{dayOf(CompanionWorld::anna(), 7200)}});
  const std::filesystem::path page = world.shared() / "page.html";
  AtomicFile::write(page, pageOf(world));
  Shown shown = shownByBrowser(browser, page);
  EXPECT_THAT(shown.document, HasSubstr("Anna is looking forward to the concert.</p>"));
  EXPECT_THAT(shown.document, HasSubstr("href=\"https://example.org/a?b=1&amp;c=2\""));
  EXPECT_THAT(shown.complaints, Not(HasSubstr("Content Security Policy")));
  // The same page with one more rule in its style is no longer the one that its policy admits.
  std::string altered = pageOf(world);
  altered.insert(altered.find("</style>"), "p{color:red}");
  AtomicFile::write(page, altered);
  EXPECT_THAT(shownByBrowser(browser, page).complaints, HasSubstr("Content Security Policy"));
}

TEST(LatelyPage, AnObstacleIsAPageToo) {
  CompanionWorld world;
  const CompanionContext context = world.context();
  const HelperDayNotes none;
  EXPECT_THAT(LatelyPage(none, context).html("The <keyring> is locked."), HasSubstr("The &lt;keyring&gt; is locked."));
}

}  // namespace
}  // namespace pellora
