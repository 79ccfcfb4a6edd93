#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/NewsWords.h"

namespace pellora::NewsWords {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NewsWords, TheListsAreTheseInThisOrder) {
  EXPECT_THAT(kHedges, testing::ElementsAreArray(std::vector<std::string_view>(
                           {" thinking about ", " thinking of ", " might ", " maybe ", " considering ", " hoping to ",
                            " hope to ", " if i ", " if we ", " would love to ", " someday ", " one day ", " applying ",
                            " fingers crossed "})));
  EXPECT_THAT(
      kEventStems,
      testing::ElementsAreArray(std::vector<std::string_view>(
          {"job",         "hired",     "offer",           "promot",     "new role",    "position",  "started at",
           "starting at", "start at",  "retire",          "laid off",   "layoff",      "quit",      "engag",
           "married",     "marry",     "wedding",         "honeymoon",  "baby",        "born",      "pregnan",
           "expecting",   "adopt",     "moving",          "moved",      "move to",     "new house", "new home",
           "the house",   "closed on", "apartment",       "condo",      "graduat",     "degree",    "accepted",
           "admitted",    "trip",      "vacation",        "booked",     "passed away", "died",      "death",
           "funeral",     "surgery",   "diagnos",         "hospital",   "cancer",      "chemo",     "recover",
           "launch",      "opened",    "my own business", "my company", "divorce",     "broke up",  "separated",
           "anniversary", "puppy",     "kitten",          "marathon",   "award",       "published", "raise"})));
  EXPECT_THAT(
      kSecondHandOpenings,
      testing::ElementsAreArray(std::vector<std::string_view>({"was at ", "were at ", "is at ", "went to ", "attended ",
                                                               "visited ", "saw ", "watched ", "was in ", "heard "})));
  EXPECT_THAT(kStopWords,
              testing::ElementsAreArray(std::vector<std::string_view>(
                  {"about", "after", "again", "also",  "back",   "been",     "before",  "being",     "big",   "from",
                   "going", "good",  "great", "have",  "having", "into",     "just",    "last",      "made",  "make",
                   "more",  "much",  "news",  "next",  "over",   "really",   "some",    "soon",      "that",  "their",
                   "them",  "then",  "they",  "this",  "today",  "tomorrow", "very",    "week",      "weeks", "were",
                   "will",  "with",  "year",  "years", "month",  "months",   "finally", "officially"})));
}

TEST(NewsWords, TheListsHaveTheseLengths) {
  EXPECT_EQ(kHedges.size(), 14u);
  EXPECT_EQ(kEventStems.size(), 63u);
  EXPECT_EQ(kSecondHandOpenings.size(), 10u);
  EXPECT_EQ(kStopWords.size(), 48u);
}

TEST(NewsWords, WordsStandBetweenSpaces) {
  EXPECT_THAT(wordsOf("  a bc,  d "), ElementsAre("a", "bc,", "d"));
  EXPECT_THAT(wordsOf(""), IsEmpty());
  EXPECT_THAT(wordsOf("  "), IsEmpty());
}

TEST(NewsWords, ThePossessiveGoesWithEitherApostrophe) {
  EXPECT_EQ(withoutPossessive("Sam's"), "Sam");
  EXPECT_EQ(withoutPossessive("Sam\u2019s"), "Sam");
  EXPECT_EQ(withoutPossessive("James"), "James");
  EXPECT_EQ(withoutPossessive("James'"), "James'");
}

TEST(NewsWords, ContentStemsAreFiveLettersOfWordsOfFourAndMore) {
  EXPECT_THAT(contentStems("Sam got a job at the bakery.", "Sam"), ElementsAre("baker"));
  EXPECT_THAT(contentStems("Samuel MOVED home", "samuel"), ElementsAre("moved", "home"));
  EXPECT_THAT(contentStems("Samuel moved", "Sam"), ElementsAre("samue", "moved"));
  EXPECT_THAT(contentStems("abc abcd abcde abcdef", ""), ElementsAre("abcd", "abcde", "abcde"));
  EXPECT_THAT(contentStems("it's aren't don\u2019t well-known a1bcde5fghi", ""),
              ElementsAre("aren", "well", "known", "bcde", "fghi"));
  EXPECT_THAT(contentStems("", "Sam"), IsEmpty());
  EXPECT_THAT(contentStems("\u00C4rzte \u00DCberall e\u0301te\u0301s", ""),
              ElementsAre("\u00E4rzte", "\u00FCbera", "e\u0301te\u0301s"));
  EXPECT_THAT(contentStems("Zoe\u0308lle left", "Zo\u00EBlle"), ElementsAre("left"));
}

TEST(NewsWords, StopWordsAreNoContent) {
  for (const std::string_view word : kStopWords) EXPECT_THAT(contentStems(word, ""), IsEmpty()) << word;
}

}  // namespace
}  // namespace pellora::NewsWords
