#include <gtest/gtest.h>

#include <random>

#include "PelloraMessagesCore/BirthdayFinder.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {
namespace {

const Instant kFirst = instantAtSeconds(1'795'262'400);  // 2026-11-21 12:00:00 UTC

std::optional<MessagesBirthday> find(const std::vector<MessageLine>& lines, std::string_view firstName = "Anna") {
  return BirthdayFinder::find(lines, firstName, kFirst, LocalCalendar::inTimeZone("UTC"));
}

MessageLine me(std::string text) {
  return {true, std::move(text)};
}

MessageLine them(std::string text) {
  return {false, std::move(text)};
}

TEST(BirthdayFinder, APlainGreetingIsThePersonsOwnBirthday) {
  const auto birthday = find({them("morning"), me("Happy birthday!!! \U0001F389")});
  ASSERT_TRUE(birthday);
  EXPECT_EQ(*birthday, (MessagesBirthday{std::nullopt, 11, 21, std::nullopt, kFirst}));
}

TEST(BirthdayFinder, TheDateIsThatOfTheCalendar) {
  const Instant late = instantAtSeconds(1'798'761'599);  // 2026-12-31 23:59:59 UTC
  const auto birthday = BirthdayFinder::find({me("hbd")}, "", late, LocalCalendar::inTimeZone("Pacific/Kiritimati"));
  ASSERT_TRUE(birthday);
  EXPECT_EQ(birthday->month, 1);
  EXPECT_EQ(birthday->day, 1);
  EXPECT_EQ(birthday->wishedAt, late);
}

TEST(BirthdayFinder, OnlyTheUsersGreetingsCount) {
  EXPECT_FALSE(find({them("happy birthday")}));
  EXPECT_FALSE(find({}));
  EXPECT_FALSE(find({me("birthday happy")}));
}

TEST(BirthdayFinder, EveryGreetingInAnyCaseAndInsideAWordCounts) {
  for (const char* text : {"\U0001F382", "HAPPY BIRTHDAY", "happy Bday", "Happy B-Day!", "hbd", "xhbdx", "oHBD",
                           "say\U0001F382!", "unhappy birthdays"})
    EXPECT_TRUE(find({me(text)})) << text;
  for (const char* text : {"", "h", "hb", "happy  birthday", "happy\nbirthday", "happy birth", "h b d", "h.b.d",
                           "happy b\u0130rthday", "happy birthd\u00E1y", "\U0001F383", "happy b"})
    EXPECT_FALSE(find({me(text)})) << text;
}

TEST(BirthdayFinder, AGreetingForAnotherDayIsNone) {
  for (const char* text : {"happy belated birthday Sam", "hbd, EARLY I know", "happy birthday for Tomorrow",
                           "happy belated", "hbd! nearly forgot"})
    EXPECT_FALSE(find({me(text), me("happy birthday!")})) << text;
  EXPECT_TRUE(find({me("happy birthday!"), me("happy belated birthday")}));
  EXPECT_TRUE(find({me("see you tomorrow"), me("happy birthday!")}));
}

TEST(BirthdayFinder, TheGreetingNamesWhoseBirthdayItIs) {
  struct Case {
    const char* text;
    const char* firstName;
    std::optional<std::string> name;
  };
  const std::vector<Case> cases = {
      {"Happy birthday to little Maya", "Anna", "Maya"},
      {"Happy birthday Anna", "Anna", std::nullopt},
      {"Happy birthday Anna", "anna", std::nullopt},
      {"Happy birthday Anna", "", "Anna"},
      {"Happy birthday Dude", "Anna", std::nullopt},
      {"HAPPY BDAY, Maya!", "Anna", "Maya"},
      {"happy b-day TO Big Sam", "Anna", "Sam"},
      {"Happy birthday Little Maya", "Anna", "Maya"},
      {"happy birthday maya", "Anna", std::nullopt},
      {"happy birthday MAYA", "Anna", std::nullopt},
      {"happy birthday! Maya", "Anna", std::nullopt},
      {"happy birthday  ,\n Maya", "Anna", "Maya"},
      {"hbd! happy  birthday to  little  Maya", "Anna", "Maya"},
      {"happy birthday my dear, happy birthday Maya", "Anna", "Maya"},
      {"Happy birthday Maya-Lou", "Anna", "Maya"},
      {"Happy birthday J", "Anna", std::nullopt},
      {"Happy birthday to my Maya", "Anna", std::nullopt},
      {"Happy Birthday Sweet Maya", "Anna", "Maya"},
      {"hbd Maya", "Anna", std::nullopt},
      {"\U0001F382 Maya", "Anna", std::nullopt},
      {"Happy birthday Today", "Anna", std::nullopt},
      {"Happy birthday to To", "Anna", std::nullopt},
  };
  for (const Case& each : cases) {
    const auto birthday = find({me(each.text)}, each.firstName);
    ASSERT_TRUE(birthday) << each.text;
    EXPECT_EQ(birthday->name, each.name) << each.text;
  }
}

TEST(BirthdayFinder, TheWordsThatAreNeverANameAreThese) {
  for (const char* word : {"To",     "My",  "Man",     "Buddy", "Dude",      "Friend", "Girl",   "Girlie", "Sis",
                           "Sister", "Bro", "Brother", "Lady",  "Sir",       "Mom",    "Dad",    "Mama",   "Papa",
                           "You",    "And", "Love",    "Hun",   "Babe",      "Pal",    "Old",    "Again",  "Today",
                           "Kiddo",  "Big", "Little",  "Sweet", "Beautiful", "Wishes", "Wishing"}) {
    EXPECT_EQ(find({me(std::string("Happy birthday, ") + word)})->name, std::nullopt) << word;
    EXPECT_EQ(find({me("happy birthday!"), them(std::string("birthday wishes for ") + word)})->name, std::nullopt)
        << word;
    EXPECT_EQ(find({me(std::string("Happy birthday ") + word + "x")})->name, std::string(word) + "x") << word;
  }
}

TEST(BirthdayFinder, ThePersonsOwnBirthdayIsTheirs) {
  struct Case {
    const char* text;
    const char* firstName;
    std::optional<std::string> name;
  };
  const std::vector<Case> cases = {
      {"Happy birthday Jos\u00E9! \U0001F389", "Jos\u00E9", std::nullopt},
      {"Happy birthday Jose\u0301!", "Jos\u00E9", std::nullopt},
      {"Happy birthday Jos\u00E9!", "Jose\u0301", std::nullopt},
      {"Happy birthday Jose!", "Jos\u00E9", std::nullopt},
      {"Happy birthday Jos\u00E9\u2019s big day", "Jose", std::nullopt},
      {"Happy birthday Zo\u00EB", "Zo\u00EB", std::nullopt},
      {"Happy birthday Zoe", "ZO\u00CB", std::nullopt},
      {"Happy birthday Mary Jane", "Mary Jane", std::nullopt},
      {"Happy birthday Mary", "Mary Jane", std::nullopt},
      {"Happy birthday Maryjane", "Mary Jane", std::nullopt},
      {"Happy birthday Anna-Lena", "Anna-Lena", std::nullopt},
      {"Happy birthday Annalena", "Anna-Lena", std::nullopt},
      {"Happy birthday Anna", "Anna Maria", std::nullopt},
      {"Happy birthday Sam", "Samuel", std::nullopt},
      {"happy birthday Sam happy birthday Samantha", "Samuel", std::nullopt},
      {"Happy birthday Samantha", "Sam", "Samantha"},
      {"happy birthday Samantha happy birthday Sam", "Sam", "Samantha"},
      {"Happy birthday Jane", "Mary Jane", "Jane"},
      {"Happy birthday Josefina", "Jos\u00E9", "Josefina"},
      {"Happy birthday Maya", "Ma\u0142ya", "Maya"},
      {"Happy birthday Maya \xFF", "Anna", "Maya"},
  };
  for (const Case& each : cases) {
    const auto birthday = find({me(each.text)}, each.firstName);
    ASSERT_TRUE(birthday) << each.text;
    EXPECT_EQ(birthday->name, each.name) << each.text;
    const auto thanked = find({me("hbd"), them("birthday love for " + std::string(each.text + 15))}, each.firstName);
    if (std::string_view(each.text).starts_with("Happy birthday ")) EXPECT_EQ(thanked->name, each.name) << each.text;
  }
}

TEST(BirthdayFinder, TheirThanksNameWhoseBirthdayItIs) {
  const auto name = [](const std::string& text) { return find({me("happy birthday!"), them(text)})->name; };
  EXPECT_EQ(name("Thanks for the birthday wishes for Maya"), "Maya");
  EXPECT_EQ(name("thanks for the Birthday LOVE to Maya!"), "Maya");
  EXPECT_EQ(name("your birthday message for Maya. So sweet"), "Maya");
  EXPECT_EQ(name("birthday wishes FOR Maya"), "Maya");
  EXPECT_EQ(name("birthday  wishes  for  Maya"), "Maya");
  EXPECT_EQ(name("birthday text for Anna"), std::nullopt);
  EXPECT_EQ(name("birthday text for Maya"), "Maya");
  EXPECT_EQ(name("birthday cake for Maya"), std::nullopt);
  EXPECT_EQ(name("birthday wishes from Maya"), std::nullopt);
  EXPECT_EQ(name("birthday wishes for my son"), std::nullopt);
  EXPECT_EQ(name("birthday wishes for my son, birthday wishes for Maya"), "Maya");
  EXPECT_EQ(name("birthday wishes for Mom"), std::nullopt);
  EXPECT_EQ(find({me("happy birthday!"), me("birthday wishes for Maya")})->name, std::nullopt);
  EXPECT_EQ(find({me("happy birthday!"), them("birthday wishes for Dad"), them("birthday wishes for Maya"),
                  them("birthday wishes for Ida")})
                ->name,
            "Maya");
  EXPECT_EQ(find({me("happy birthday Tom!"), them("birthday wishes for Maya")})->name, "Tom");
}

TEST(BirthdayFinder, TheirTextsTellTheAge) {
  struct Case {
    const char* text;
    std::optional<int> age;
  };
  const std::vector<Case> cases = {
      {"I\u2019m 31 today", 31},
      {"I\u2019m 31", 31},
      {"I'm 31", 31},
      {"she just turned 31", 31},
      {"they are 31", std::nullopt},
      {"he's 3100", std::nullopt},
      {"my 30th birthday", 30},
      {"the 23rd bday", 23},
      {"the 30th of May", std::nullopt},
      {"a30 today", std::nullopt},
      {"x31 years old", std::nullopt},
      {"31 years old", 31},
      {"x21st birthday", std::nullopt},
      {"1030 today", std::nullopt},
      {"turning 311", std::nullopt},
      {"he's 31st in line", std::nullopt},
      {"turned 31st", std::nullopt},
      {"she's 4 now", 4},
      {"He turned 7", 7},
      {"he's 8", 8},
      {"she turned 31 and I'm 60", 31},
      {"she just turned 31 and I'm 60", 31},
      {"they turned 12 and I'm 40", 12},
      {"they just turned 12!", 12},
      {"SHE IS 9", 9},
      {"turning 40 is odd", 40},
      {"Turning 150", std::nullopt},
      {"40 today!", 40},
      {"he's 150, feels like 40 years old", 40},
      {"3 yrs old", 3},
      {"my 21st birthday", 21},
      {"her 2nd bday", 2},
      {"turned 0", std::nullopt},
      {"turned 1", 1},
      {"turned 110", 110},
      {"turned 111", std::nullopt},
      {"turned 007", 7},
      {"turned 1234", std::nullopt},
      {"turned \u0663\u0661", std::nullopt},
      {"turned 3\u0661", std::nullopt},
      {"turned \u0663\u0661, yes 31 today", 31},
      {"nothing", std::nullopt},
      {"I am 31", 31},
      {"TURNING 41", 41},
      {"turning 7", 7},
      {"he's 105", 105},
      {"105 years old", 105},
      {"my 105th birthday", 105},
      {"she is  9", 9},
      {"turning  40", 40},
      {"40  today", 40},
      {"my 30th  birthday", 30},
      {"41 TODAY", 41},
      {"the 23RD bday", 23},
      {"my 30th Birthday", 30},
      {"I was 31", std::nullopt},
  };
  for (const Case& each : cases) EXPECT_EQ(find({me("happy birthday!"), them(each.text)})->age, each.age) << each.text;
  EXPECT_EQ(find({me("happy birthday! turned 31"), me("31 today")})->age, std::nullopt);
  EXPECT_EQ(find({them("turned 200"), them("turned 30"), them("turned 31"), me("hbd")})->age, 30);
}

TEST(BirthdayFinder, TheGreetingTestIsThePlainOneOnTheLowerCasedText) {
  const std::vector<std::string> greetings = {"\U0001F382",  "happy birthday", "happy bday",
                                              "happy b-day", "happy belated",  "hbd"};
  const std::vector<std::string> pieces = {
      "h",          "H",        "b",        "B",        "d",          "D",      "happy ",       "Happy ",
      "birthday",   "BIRTHDAY", "bday",     "b-day",    "belated",    "\u212A", "\u0130",       "i",
      "\U0001F382", " ",        "\xF0\x9F", "\x8E\x82", "\u00C5",     "\u0131", "\xF0\x9F\x8E", "\u03A3",
      "y ",         "\u1E9E",   "a",        "hb",       "\U0001F383", "p"};
  std::mt19937 random(3);
  int hits = 0;
  for (int round = 0; round < 60'000; ++round) {
    std::string text;
    for (unsigned count = random() % 6; count > 0; --count) text += pieces[random() % pieces.size()];
    const std::string lowerCase = text::lowercased(text);
    const bool expected = std::any_of(greetings.begin(), greetings.end(), [&](const std::string& greeting) {
      return lowerCase.find(greeting) != std::string::npos;
    });
    ASSERT_EQ(BirthdayFinder::holdsGreeting(text), expected) << text;
    hits += expected ? 1 : 0;
  }
  EXPECT_GT(hits, 1'000);
}

TEST(BirthdayFinder, GreetingsAreFoundAtEveryPlaceOfATextOfAnyLength) {
  for (const std::string greeting : {"\U0001F382", "hbd", "HAPPY B-DAY"})
    for (std::size_t before = 0; before < 70; ++before)
      for (std::size_t after = 0; after < 3; ++after)
        ASSERT_TRUE(BirthdayFinder::holdsGreeting(std::string(before, 'x') + greeting + std::string(after * 20, 'x')));
}

TEST(BirthdayFinder, SlowTextsEndSoon) {
  const std::string spaces(200'000, ' ');
  const auto birthday =
      find({me("happy birthday" + spaces), them("birthday wishes" + spaces), them("turned" + spaces)});
  ASSERT_TRUE(birthday);
  EXPECT_EQ(birthday->name, std::nullopt);
}

}  // namespace
}  // namespace pellora
