#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputStyle.h"

namespace pellora {

namespace {

using testing::ElementsAre;

TEST(DisplayText, NothingThatSteersATerminalIsPrintable) {
  EXPECT_EQ(display::printable("a\x1B[31mb\x07"), "a [31mb");
  EXPECT_EQ(display::printable("a\xC2\x9B"
                               "31mb"),
            "a 31mb");
  EXPECT_EQ(display::printable("\r\nAnna\tSmith\x7F"), "Anna Smith");
  EXPECT_EQ(display::printable("a\xE2\x80\xAE"
                               "b\xE2\x81\xA6"
                               "c"),
            "abc");
  EXPECT_EQ(display::printable("\xFF"
                               "a"),
            "\xEF\xBF\xBD"
            "a");
  EXPECT_EQ(display::printable("👨‍👩‍👧 e\xCC\x81"), "👨‍👩‍👧 e\xCC\x81");
}

struct Width {
  const char* text;
  std::size_t columns;
};

TEST(DisplayText, WidthIsWhatATerminalShows) {
  const Width kWidths[] = {
      {"", 0},     {"Anna", 4}, {"Jörg", 4}, {"Jo\xCC\x88rg", 4}, {"太郎", 4}, {"👨‍👩‍👧", 2}, {"☕", 2},
      {"한국", 4}, {"…", 1},    {"ａ", 2}};
  for (const Width& width : kWidths) EXPECT_EQ(display::width(width.text), width.columns) << width.text;
}

TEST(DisplayText, CutsBetweenCharactersOnly) {
  EXPECT_EQ(display::fitted("Anna Smith", 20), "Anna Smith");
  EXPECT_EQ(display::fitted("Anna Smith", 6), "Anna…");
  EXPECT_EQ(display::fitted("太郎太郎", 4), "太…");
  EXPECT_EQ(display::fitted("e\xCC\x81"
                            "e\xCC\x81"
                            "e\xCC\x81",
                            2),
            "e\xCC\x81…");
  EXPECT_EQ(display::fitted("Anna", 0), "");
}

TEST(DisplayText, WrapsAtSpaces) {
  EXPECT_THAT(display::wrapped("one two  three", 7), ElementsAre("one two", "three"));
  EXPECT_THAT(display::wrapped("https://example.org/long a", 5), ElementsAre("https://example.org/long", "a"));
  EXPECT_THAT(display::wrapped("", 5), ElementsAre());
}

TEST(DisplayText, ListsAsPeopleDo) {
  EXPECT_EQ(display::listed({"Anna"}), "Anna");
  EXPECT_EQ(display::listed({"Anna", "Bob"}), "Anna and Bob");
  EXPECT_EQ(display::listed({"Anna", "Bob", "Carla"}), "Anna, Bob and Carla");
  EXPECT_EQ(display::counted(1, "person", "people"), "1 person");
  EXPECT_EQ(display::counted(0, "person", "people"), "0 people");
}

TEST(DisplayText, AFileInACommandIsOneWordOfTheShell) {
  EXPECT_EQ(display::shellWord("/media/disk/Users/ada-1_b.c"), "/media/disk/Users/ada-1_b.c");
  EXPECT_EQ(display::shellWord("/media/My Disk"), "'/media/My Disk'");
  EXPECT_EQ(display::shellWord("/it's"), "'/it'\\''s'");
  EXPECT_EQ(display::shellWord("/a$(b)`c`\"&;*~"), "'/a$(b)`c`\"&;*~'");
  EXPECT_EQ(display::shellWord(""), "''");
}

TEST(TextTable, ColumnsLineUpWithWideCharacters) {
  TextTable table({{"Name"}, {"Sent", TextTable::Side::right}, {"Note"}});
  table.add({"太郎", "7", "x"});
  table.add({"Jo\xCC\x88rg", "12", ""});
  EXPECT_EQ(table.render({}), "Name  Sent  Note\n太郎     7  x\nJo\xCC\x88rg    12\n");
}

TEST(TextTable, TheLastColumnGivesWayFirst) {
  TextTable table({{"Name"}, {"Summary"}});
  table.add({"Anna", "A long sentence about many things"});
  OutputStyle style;
  style.width = 24;
  EXPECT_EQ(table.render(style), "Name  Summary\nAnna  A long sentence a…\n");
}

TEST(TextTable, CellsCannotSteerTheTerminal) {
  TextTable table({{"Name"}});
  table.add({"\x1B]0;title\x07"});
  EXPECT_EQ(table.render({}).find('\x1B'), std::string::npos);
}

constexpr std::int64_t kNow = 1'795'262'400;  // Saturday 2026-11-21T12:00:00Z
constexpr std::int64_t kHour = 3'600;

TEST(DateText, NamesTheDayAndTheYearWhenItIsAnother) {
  struct {
    std::int64_t secondsAgo;
    const char* words;
    const char* weekday;
  } const kCases[] = {
      {0, "today", "Sat 21 Nov"},
      {12 * kHour, "today", "Sat 21 Nov"},
      {12 * kHour + 1, "yesterday", "Fri 20 Nov"},
      {36 * kHour, "yesterday", "Fri 20 Nov"},
      {36 * kHour + 1, "19 Nov", "Thu 19 Nov"},
      {-12 * kHour, "22 Nov", "Sun 22 Nov"},
      {400 * 24 * kHour, "17 Oct 2025", "Fri 17 Oct 2025"},
  };
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  for (const auto& each : kCases) {
    const Instant instant = instantAtSeconds(kNow - each.secondsAgo);
    EXPECT_EQ(date_text::dayInWords(instant, instantAtSeconds(kNow), calendar), each.words);
    EXPECT_EQ(date_text::weekdayDate(instant, instantAtSeconds(kNow), calendar), each.weekday);
  }
}

TEST(DateText, EveryMonthAndWeekdayHasItsName) {
  const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 1; month <= 12; ++month)
    EXPECT_EQ(date_text::dayOfYear(month, 9), std::string("9 ") + kMonths[month - 1]);
  EXPECT_EQ(date_text::dayOfYear(0, 9), "");
  EXPECT_EQ(date_text::dayOfYear(13, 9), "");
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  const char* const kBackFromSaturday[] = {"Sat 21", "Fri 20", "Thu 19", "Wed 18", "Tue 17", "Mon 16", "Sun 15"};
  for (int days = 0; days < 7; ++days)
    EXPECT_EQ(date_text::weekdayDate(instantAtSeconds(kNow - days * 24 * kHour), instantAtSeconds(kNow), calendar),
              std::string(kBackFromSaturday[days]) + " Nov");
}

}  // namespace

}  // namespace pellora
