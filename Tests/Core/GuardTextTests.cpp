#include <gtest/gtest.h>

#include <array>

#include "PelloraMessagesCore/Language/GuardText.h"

namespace pellora::GuardText {
namespace {

TEST(GuardText, PreparedIsLowerCaseWithStraightApostrophesBetweenSpaces) {
  EXPECT_EQ(prepared("We\u2019LL See"), " we'll see ");
  EXPECT_EQ(prepared("\u00C9T\u00C9\u2019"), " \u00E9t\u00E9' ");
  EXPECT_EQ(prepared("\u2018x\u02BC"), " \u2018x\u02BC ");
  EXPECT_EQ(prepared(""), "  ");
  EXPECT_EQ(prepared("a\nB"), " a\nb ");
}

TEST(GuardText, EveryLineBreakBecomesOneSpace) {
  for (const char* lineBreak : {"\n", "\r\n", "\r", "\v", "\f", "\u0085", "\u2028", "\u2029"})
    EXPECT_EQ(onOneLine(std::string("a") + lineBreak + "b"), "a b");
  EXPECT_EQ(onOneLine("\n\r a\t\u00A0b\xFF\r\n\r\n"), "   a\t\u00A0b\uFFFD  ");
  EXPECT_EQ(onOneLine(""), "");
}

TEST(GuardText, DisguisedCharactersAreTheOnesTheyLookLike) {
  for (const char* text :
       {"evil.com", "EVIL.com", "evil\u2024com", "evil\u3002com", "evil\uFF0Ecom", "evil\uFF61com",
        "\uFF45\uFF56\uFF49\uFF4C\uFF0E\uFF43\uFF4F\uFF4D", "evil\u200B.\u2060c\u00ADom", "\U0001D41E\U0001D42Fil.com"})
    EXPECT_EQ(withoutDisguise(text), "evil.com") << text;
  EXPECT_EQ(withoutDisguise("\u00C9t\u00E9\U0001F600"), "e\u0301te\u0301\U0001F600");
  EXPECT_EQ(withoutDisguise(""), "");
}

TEST(GuardText, AFullStopOfAnAbbreviationEndsNoSentence) {
  const auto isOfAbbreviation = [](std::string_view text, std::size_t mark) {
    return isFullStopOfAbbreviation(text, mark);
  };
  for (const char* word : {"mr",   "mrs", "ms",     "mx",   "dr",  "prof", "rev",  "st",  "ste", "mt",   "ft",
                           "jr",   "sr",  "sgt",    "capt", "lt",  "gov",  "dept", "inc", "ltd", "corp", "co",
                           "bros", "vs",  "approx", "feb",  "aug", "sept", "oct",  "nov", "dec", "ph.d"}) {
    const std::string text = "see " + std::string(word) + ". More";
    EXPECT_TRUE(isOfAbbreviation(text, text.find(". "))) << text;
    EXPECT_FALSE(isOfAbbreviation("see x" + std::string(word) + ". More", text.find(". ") + 1)) << text;
  }
  for (const char* text : {"Dr. Who", "(DR. Who)", "\u201CDr. Who", "Dr.", "a Jr.'s", "J. Doe", "\u00C9. Zola",
                           "at 5 p.m. today", "U.S. law", "J.R. Hill", "J.-P. S", "Ph.D. now", "St.Louis"}) {
    const std::string_view view = text;
    for (std::size_t mark = view.find('.'); mark != std::string_view::npos; mark = view.find('.', mark + 1))
      EXPECT_TRUE(isOfAbbreviation(view, mark)) << text << " at " << mark;
  }
  for (const char* text : {"dinner. Then", "a. b", "Dr.. Who", "Dr!. Who", ". Mr", "30. More", "no. More", "ab.cd. x",
                           "a.mb. x", "A.. x", "sad. Mr", "J-P. x", "1.2. x", "St\u0301. x"}) {
    const std::string_view view = text;
    EXPECT_FALSE(isOfAbbreviation(view, view.rfind(". "))) << text;
  }
  EXPECT_FALSE(isOfAbbreviation("Dr! Who", 2));
}

TEST(GuardText, LongRowsOfDottedLettersAreLookedAtOnlyNearby) {
  std::string text;
  for (int i = 0; i < 500'000; ++i) text += "A.";
  int stops = 0;
  for (std::size_t mark = text.find('.'); mark != std::string::npos; mark = text.find('.', mark + 1))
    stops += isFullStopOfAbbreviation(text, mark) ? 1 : 0;
  EXPECT_EQ(stops, 0);
}

TEST(GuardText, FindsAnyPhraseLetterForLetter) {
  constexpr std::array<std::string_view, 2> kPhrases = {" ab ", "c"};
  EXPECT_TRUE(containsAny("x ab x", kPhrases));
  EXPECT_TRUE(containsAny("xcx", kPhrases));
  EXPECT_FALSE(containsAny("xabx AB C", kPhrases));
  EXPECT_FALSE(containsAny("", kPhrases));
}

TEST(GuardText, AByteIsAWholeCharacterWhenNothingJoinsIt) {
  EXPECT_TRUE(isWholeCharacter(".", 0));
  EXPECT_TRUE(isWholeCharacter("a.b", 1));
  EXPECT_TRUE(isWholeCharacter("\u00E9.\u4E2D", 2));
  EXPECT_FALSE(isWholeCharacter("a.\u0301", 1));
  EXPECT_FALSE(isWholeCharacter("a.\u200D", 1));
  EXPECT_FALSE(isWholeCharacter("a.\uFE0F", 1));
  EXPECT_FALSE(isWholeCharacter("\u0600.", 2));
  EXPECT_TRUE(isWholeCharacter("\U0001F600.\U0001F600", 4));
  EXPECT_TRUE(isWholeCharacter("\r.\n", 1));
}

TEST(GuardText, LengthIsInCharacters) {
  EXPECT_FALSE(isLongerThan("", 0));
  EXPECT_FALSE(isLongerThan("abc", 3));
  EXPECT_TRUE(isLongerThan("abcd", 3));
  EXPECT_FALSE(isLongerThan("e\u0301e\u0301", 2));
  EXPECT_TRUE(isLongerThan("e\u0301e\u0301e", 2));
}

}  // namespace
}  // namespace pellora::GuardText
