#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/GuardWords.h"

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
  EXPECT_THAT(contentStems("Zo\u00EBlle left", "Zoe\u0308lle"), ElementsAre("left"));
}

TEST(NewsWords, EveryWordButFunctionWordsTellsSomething) {
  EXPECT_THAT(telling("Sam got a job at the bakery.", "Sam").stems, ElementsAre("baker", "got", "job"));
  EXPECT_THAT(telling("Sam got promoted", "Sam").stems, ElementsAre("promo"));
  EXPECT_THAT(telling("Sam\u2019s getting engaged", "Sam").stems, ElementsAre("engag"));
  EXPECT_THAT(telling("Sam got", "Sam").stems, ElementsAre("got"));
  EXPECT_THAT(telling("Sam is 100000 days rock\u2019n\u2019roll's", "Sam").stems,
              ElementsAre("100000", "days", "rock'"));
  EXPECT_EQ(telling("Sam sold the cats' houses\u2019", "Sam").stems, telling("Sam sold the cats houses", "Sam").stems);
  EXPECT_THAT(telling("Mary Jane moved", "Mary Jane").stems, ElementsAre("moved"));
  EXPECT_THAT(telling("Maryjane moved", "Mary").stems, ElementsAre("moved"));
  EXPECT_THAT(telling("moved", "Sam").stems, IsEmpty());
  EXPECT_THAT(telling("", "Sam").stems, IsEmpty());
  EXPECT_THAT(telling("Sam kept e\u0301te\u0301s", "Sam").stems, ElementsAre("kept", "\u00E9t\u00E9s"));
}

TEST(NewsWords, TurningWordsAreTheOnesOfTheTableNegationsAndThePossessive) {
  EXPECT_THAT(telling("Sam broke it off, not back", "Sam").turning, ElementsAre("back", "broke", "not", "off"));
  EXPECT_THAT(telling("Sam broke it off, not back", "Sam").stems, IsEmpty());
  EXPECT_THAT(telling("Sam doesn\u2019t", "Sam").turning, ElementsAre("not"));
  EXPECT_THAT(telling("Sam doesn\u2019t", "Sam").stems, IsEmpty());
  EXPECT_THAT(telling("Sam's dad", "Sam").turning, ElementsAre("'s"));
  for (const char* verb : {"Sam's getting on", "Sam\u2019s promoted", "Sam's a mother", "Sam's", "Sam is dad"})
    EXPECT_THAT(telling(verb, "Sam").turning, IsEmpty()) << verb;
  EXPECT_THAT(telling("Sam's not well", "Sam").turning, ElementsAre("not"));
}

TEST(NewsWords, TheFunctionWordsAreThese) {
  EXPECT_THAT(
      kFunctionWords,
      testing::ElementsAreArray(std::vector<std::string_view>(
          {"a",      "an",   "the",  "and",   "of",    "to",      "in",         "on",     "at",   "for",    "by",
           "with",   "as",   "into", "i",     "me",    "my",      "we",         "us",     "our",  "you",    "your",
           "he",     "him",  "his",  "she",   "her",   "hers",    "it",         "its",    "they", "them",   "their",
           "theirs", "this", "that", "these", "those", "who",     "which",      "there",  "here", "am",     "is",
           "are",    "was",  "were", "be",    "been",  "being",   "has",        "have",   "had",  "having", "do",
           "does",   "did",  "will", "just",  "also",  "finally", "officially", "really", "very", "so"})));
  EXPECT_THAT(kPassiveWords, ElementsAre("get", "gets", "got", "getting", "gotten"));
  EXPECT_THAT(kTurningWords,
              testing::ElementsAreArray(std::vector<std::string_view>(
                  {"not",       "no",         "never",        "nor",          "neither",  "none",      "nothing",
                   "nobody",    "cannot",     "without",      "off",          "out",      "away",      "down",
                   "up",        "over",       "back",         "from",         "through",  "against",   "free",
                   "instead",   "but",        "almost",       "nearly",       "hardly",   "barely",    "longer",
                   "anymore",   "former",     "ex",           "cancel",       "cancels",  "canceled",  "cancelled",
                   "canceling", "cancelling", "cancellation", "break",        "breaks",   "broke",     "broken",
                   "breaking",  "lose",       "loses",        "lost",         "losing",   "leave",     "leaves",
                   "left",      "leaving",    "quit",         "quits",        "quitting", "sell",      "sells",
                   "sold",      "selling",    "end",          "ends",         "ended",    "ending",    "stop",
                   "stops",     "stopped",    "stopping",     "fail",         "fails",    "failed",    "failing",
                   "fall",      "falls",      "fell",         "fallen",       "reject",   "rejects",   "rejected",
                   "decline",   "declines",   "declined",     "refuse",       "refuses",  "refused",   "deny",
                   "denies",    "denied",     "delay",        "delays",       "delayed",  "postpone",  "postpones",
                   "postponed", "withdraw",   "withdrew",     "withdrawn",    "miss",     "misses",    "missed",
                   "fired",     "benign",     "negative",     "gone",         "cured",    "remission", "if",
                   "could",     "may",        "might",        "must",         "should",   "would",     "maybe",
                   "perhaps",   "probably",   "hope",         "hopes",        "hoped",    "hoping",    "want",
                   "wants",     "wanted",     "plan",         "plans",        "planned",  "planning",  "try",
                   "tries",     "tried",      "trying",       "apply",        "applies",  "applied",   "applying",
                   "interview", "interviews", "interviewed",  "interviewing", "offered",  "fear",      "fears",
                   "feared"})));
}

TEST(NewsWords, StopWordsAreNoContent) {
  for (const std::string_view word : kStopWords) EXPECT_THAT(contentStems(word, ""), IsEmpty()) << word;
}

}  // namespace
}  // namespace pellora::NewsWords
