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
