#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "PelloraMessagesCore/Text/Regex.h"

namespace pellora {
namespace {

TEST(Regex, FindsTheFirstMatchAndItsGroups) {
  const Regex regex("(\\w+)@(\\w+)(!)?");
  EXPECT_EQ(regex.firstMatch("to ann@home and bob@work"), "ann@home");
  EXPECT_EQ(regex.firstMatch("to ann@home and bob@work", 1), "ann");
  EXPECT_EQ(regex.firstMatch("to ann@home and bob@work", 2), "home");
  EXPECT_EQ(regex.firstMatch("to ann@home and bob@work", 3), std::nullopt) << "it took no part in the match";
  EXPECT_EQ(regex.firstMatch("nobody at home"), std::nullopt);
}

TEST(Regex, OneInstanceServesManyTexts) {
  const Regex regex("\\bborn\\b");
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(regex.matches("She was born today"));
    EXPECT_FALSE(regex.matches("stubborn"));
    EXPECT_FALSE(regex.matches(""));
  }
}

TEST(Regex, OneConvertedTextServesManyInstances) {
  const RegexText text("Zoë turns 30 in Köln");
  EXPECT_EQ(Regex("turns (\\d+)").firstMatch(text, 1), "30");
  EXPECT_EQ(Regex("in (\\w+)").firstMatch(text, 1), "Köln");
  EXPECT_EQ(Regex("^\\w+").firstMatch(text), "Zoë");
  EXPECT_FALSE(Regex("köln").matches(text)) << "case counts unless the pattern says otherwise";
}

TEST(Regex, RefusesAPatternThatIsNotWellFormed) {
  EXPECT_THROW(Regex("(open"), std::invalid_argument);
  EXPECT_THROW(Regex("*"), std::invalid_argument);
}

// Without a limit such a pattern would search for longer than anybody waits.
TEST(Regex, ASearchThatTheEngineGivesUpCountsAsNoMatch) {
  EXPECT_FALSE(Regex("(a+)+$").matches(std::string(5000, 'a') + "!"));
}

}  // namespace
}  // namespace pellora
