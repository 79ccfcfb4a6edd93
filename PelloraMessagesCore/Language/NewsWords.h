// The words by which NewsGuard judges, and how it takes sentences apart. All lists are lower case.
// Tested by Tests/Core/NewsWordsTests.cpp.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

namespace NewsWords {

inline constexpr auto kHedges = std::to_array<std::string_view>(
    {" thinking about ", " thinking of ", " might ", " maybe ", " considering ", " hoping to ", " hope to ", " if i ",
     " if we ", " would love to ", " someday ", " one day ", " applying ", " fingers crossed "});

inline constexpr auto kEventStems = std::to_array<std::string_view>(
    {"job",         "hired",     "offer",           "promot",     "new role",    "position",  "started at",
     "starting at", "start at",  "retire",          "laid off",   "layoff",      "quit",      "engag",
     "married",     "marry",     "wedding",         "honeymoon",  "baby",        "born",      "pregnan",
     "expecting",   "adopt",     "moving",          "moved",      "move to",     "new house", "new home",
     "the house",   "closed on", "apartment",       "condo",      "graduat",     "degree",    "accepted",
     "admitted",    "trip",      "vacation",        "booked",     "passed away", "died",      "death",
     "funeral",     "surgery",   "diagnos",         "hospital",   "cancer",      "chemo",     "recover",
     "launch",      "opened",    "my own business", "my company", "divorce",     "broke up",  "separated",
     "anniversary", "puppy",     "kitten",          "marathon",   "award",       "published", "raise"});

inline constexpr auto kSecondHandOpenings = std::to_array<std::string_view>(
    {"was at ", "were at ", "is at ", "went to ", "attended ", "visited ", "saw ", "watched ", "was in ", "heard "});

inline constexpr auto kStopWords = std::to_array<std::string_view>(
    {"about", "after", "again", "also",  "back",   "been",     "before",  "being",     "big",   "from",
     "going", "good",  "great", "have",  "having", "into",     "just",    "last",      "made",  "make",
     "more",  "much",  "news",  "next",  "over",   "really",   "some",    "soon",      "that",  "their",
     "them",  "then",  "they",  "this",  "today",  "tomorrow", "very",    "week",      "weeks", "were",
     "will",  "with",  "year",  "years", "month",  "months",   "finally", "officially"});

// What stands between spaces, in order. The views point into `text`.
std::vector<std::string_view> wordsOf(std::string_view text);

// "Sam" for "Sam's", with either apostrophe.
std::string_view withoutPossessive(std::string_view word);

// The first five letters (all of a shorter word) of every content word, lower-cased, in order: runs of at least four
// letters that are neither stop words nor the first name.
std::vector<std::string> contentStems(std::string_view sentence, std::string_view firstName);

}  // namespace NewsWords

}  // namespace pellora
