#include <gtest/gtest.h>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::text {
namespace {

constexpr char kFamily[] = "\U0001F468\u200D\U0001F469\u200D\U0001F467";

TEST(Text, CountsExtendedGraphemeClusters) {
  struct Case {
    std::string text;
    std::size_t count;
  };
  for (const Case& each : std::vector<Case>{{"", 0},
                                            {"abc", 3},
                                            {"a\r\nb", 3},
                                            {"e\u0301", 1},
                                            {"\u00E9", 1},
                                            {kFamily, 1},
                                            {"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", 2},
                                            {"\u0301", 1},
                                            {"1\uFE0F\u20E3", 1}})
    EXPECT_EQ(characterCount(each.text), each.count) << each.text;
}

TEST(Text, TrimsWhiteSpaceLineBreaksAndZeroWidthSpaceOnly) {
  EXPECT_EQ(trimmed(" \t\r\n\u00A0\u2028\u200Bhello \u3000\u0085"), "hello");
  EXPECT_EQ(trimmed("\uFEFFhello"), "\uFEFFhello");
  EXPECT_EQ(trimmed(" \n"), "");
  EXPECT_EQ(trimmedOfSpaceAndPunctuation(" \"Friday!\" \u2026"), "Friday");
  EXPECT_EQ(trimmedOfSpaceAndPunctuation("$5"), "$5");
  EXPECT_EQ(trimmedOfPunctuation("(Maya)"), "Maya");
}

TEST(Text, LowerCasesFullyAndWithoutLocale) {
  EXPECT_EQ(lowercased("HELLO I"), "hello i");
  EXPECT_EQ(lowercased("\u0130"), "i\u0307");
  EXPECT_EQ(lowercased("\u039F\u03A3"), "\u03BF\u03C2");
}

TEST(Text, FindsIgnoringCaseAndKeepsOffsetsIntoTheOriginal) {
  const std::string street = "Die STRASSE";
  const auto range = findIgnoringCase(street, "stra\u00DFe");
  ASSERT_TRUE(range);
  EXPECT_EQ(street.substr(range->begin, range->end - range->begin), "STRASSE");
  EXPECT_FALSE(findIgnoringCase("Stra\u00DFe", "stras"));
  EXPECT_FALSE(findIgnoringCase("anything", ""));
}

TEST(Text, TreatsComposedAndDecomposedSpellingsAlike) {
  EXPECT_TRUE(findIgnoringCase("with Jose\u0301 today", "JOS\u00C9"));
  EXPECT_FALSE(findIgnoringCase("Jose\u0301", "jose"));
  EXPECT_EQ(prefixLengthIgnoringCase("Jose\u0301 said", "jos\u00E9 "), 7U);
  EXPECT_TRUE(equalIgnoringCase("E\u0301", "\u00E9"));
  EXPECT_EQ(canonical("e\u0301"), "\u00E9");
}

TEST(Text, EndsWithACharacterOnlyWhenItStandsAlone) {
  EXPECT_TRUE(endsWithCharacter("really?", "?"));
  EXPECT_FALSE(endsWithCharacter("really?\u0301", "?"));
  EXPECT_FALSE(endsWithCharacter("", "?"));
}

TEST(Text, TakesDigitsOfEveryScriptForNumbers) {
  EXPECT_TRUE(isNumberCharacter("7"));
  EXPECT_TRUE(isNumberCharacter("\u0663"));
  EXPECT_TRUE(isNumberCharacter("\u00BD"));
  EXPECT_FALSE(isNumberCharacter("+"));
  EXPECT_FALSE(isNumberCharacter(""));
}

TEST(Text, RepairsInvalidSequences) {
  EXPECT_EQ(repairedUtf8("a\xFF\xC3"), "a\uFFFD\uFFFD");
  EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));
  EXPECT_TRUE(isValidUtf8("h\u00E9"));
}

TEST(Text, DropsAndKeepsWholeCharacters) {
  EXPECT_EQ(droppingFirst("e\u0301ab", 1), "ab");
  EXPECT_EQ(droppingFirst("ab", 5), "");
  EXPECT_EQ(lastCharacters("ab\u0663\u0664", 2), "\u0663\u0664");
  EXPECT_EQ(lastCharacters("ab", 5), "ab");
  EXPECT_EQ(characters("ae\u0301").size(), 2U);
  EXPECT_EQ(replacingAll("a<b<", "<", "\u2039"), "a\u2039b\u2039");
}

TEST(Text, MarksStackedWithoutEndTakeNoTimeByTheSquareOfTheirNumber) {
  std::string stack = "e";
  for (int i = 0; i < 500'000; ++i) stack += "\u0301\u0323";
  EXPECT_TRUE(equalIgnoringCase(stack, stack));
  EXPECT_FALSE(equalIgnoringCase(stack, "e\u0323\u0301"));
  EXPECT_EQ(canonical(stack), stack);
  EXPECT_TRUE(equalIgnoringCase("E\u0301\u0323", "e\u0323\u0301"));
  EXPECT_EQ(canonical("e\u0301\u0323"), canonical("\u1EB9\u0301"));
}

TEST(Text, AHundredAndTwentyEightMarksInARowArePutInOrder) {
  std::string stack = "x";
  for (int i = 0; i < 64; ++i) stack += "\u0301\u0323";
  EXPECT_NE(canonical(stack), stack);
  EXPECT_EQ(canonical(stack + "\u0301"), stack + "\u0301");
}

}  // namespace
}  // namespace pellora::text
