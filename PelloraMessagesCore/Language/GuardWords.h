// The word tables by which the guards judge. All lower case.
#pragma once

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

// The words by which MeetupGuard and MeetupDay judge, in the order in which they are looked for. All lower case.
// Tested by Tests/Core/MeetupGuardTests.cpp.
namespace MeetupWords {

// Vouch for a meetup by themselves.
inline constexpr auto kCuePhrases = std::to_array<std::string_view>(
    {"great to see you",       "good to see you",       "nice to see you",     "so good to see",
     "great seeing you",       "good seeing you",       "nice seeing you",     "lovely to see you",
     "lovely seeing you",      "fun to see you",        "fun seeing you",      "was great to see",
     "was good to see",        "loved seeing you",      "thanks for dinner",   "thanks for lunch",
     "thanks for breakfast",   "thanks for brunch",     "thanks for coffee",   "thanks for the coffee",
     "thanks for drinks",      "thanks for the drinks", "thanks for having",   "thanks for hosting",
     "thanks for coming",      "thank you for dinner",  "thank you for lunch", "thank you for having",
     "thank you for hosting",  "thank you for coming",  "glad you made it",    "glad you came",
     "glad you could make it", "great time with you",   "good time with you"});

// Vouch for a meetup together with something done in person.
inline constexpr auto kCatchUpPhrases = std::to_array<std::string_view>(
    {"catching up", "caught up", "great to catch up", "good to catch up", "great catching", "hanging out", "hung out",
     "fun last night", "fun today", "fun yesterday", "had a blast"});

inline constexpr auto kActivityWords = std::to_array<std::string_view>(
    {"dinner",     "lunch",     "breakfast", "brunch",     "coffee",    "drinks",    "beer",
     "wine",       "party",     "wedding",   "game",       "concert",   "show",      "bar",
     "restaurant", "came over", "come over", "your place", "our place", "the house", "your house",
     "office",     "in person", "met up",    "meet up",    "visit",     "bbq",       "golf",
     "hike",       "walk",      "run",       "gym",        "trip",      "airport"});

inline constexpr auto kFuturePhrases = std::to_array<std::string_view>(
    {" tomorrow", "next week", "next weekend", " later", "can't wait", "cant wait", " we'll ", " we will ", " gonna ",
     " going to ", " wanna ", " want to ", "if you guys", "are you free", " tonight?"});

// People whom "caught up with" may name when the meetup was with the user all the same.
inline constexpr auto kCompanyWords = std::to_array<std::string_view>({"you", "us", "y'all", "ya", "everyone"});

inline constexpr auto kCallPhrases =
    std::to_array<std::string_view>({"facetime", "zoom", "on the phone", "on the call", "video call", "teams call",
                                     "google meet", "talking today", "chatting today"});

inline constexpr auto kSameDayWords =
    std::to_array<std::string_view>({"today", "tonight", "this morning", "this afternoon", "this evening", "earlier"});

inline constexpr auto kWeekdays =
    std::to_array<std::string_view>({"sunday", "monday", "tuesday", "wednesday", "thursday", "friday", "saturday"});

}  // namespace MeetupWords

// The words by which NewsGuard judges, and how it takes sentences apart. All lists are lower case.
// Tested by Tests/Core/NewsWordsTests.cpp and NewsRepeatTests.cpp.
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

// Say nothing by themselves about what happened: articles, pronouns, the commonest prepositions and auxiliaries.
inline constexpr auto kFunctionWords = std::to_array<std::string_view>(
    {"a",      "an",   "the",  "and",   "of",    "to",      "in",         "on",     "at",   "for",    "by",
     "with",   "as",   "into", "i",     "me",    "my",      "we",         "us",     "our",  "you",    "your",
     "he",     "him",  "his",  "she",   "her",   "hers",    "it",         "its",    "they", "them",   "their",
     "theirs", "this", "that", "these", "those", "who",     "which",      "there",  "here", "am",     "is",
     "are",    "was",  "were", "be",    "been",  "being",   "has",        "have",   "had",  "having", "do",
     "does",   "did",  "will", "just",  "also",  "finally", "officially", "really", "very", "so"});

// Auxiliaries of a passive ("got promoted"), where a participle follows.
inline constexpr auto kPassiveWords = std::to_array<std::string_view>({"get", "gets", "got", "getting", "gotten"});

// Turn a meaning round or leave it open, so that two sentences with the same other words say different things.
inline constexpr auto kTurningWords = std::to_array<std::string_view>(
    {"not",          "no",       "never",     "nor",       "neither",    "none",         "nothing",    "nobody",
     "cannot",       "without",  "off",       "out",       "away",       "down",         "up",         "over",
     "back",         "from",     "through",   "against",   "free",       "instead",      "but",        "almost",
     "nearly",       "hardly",   "barely",    "longer",    "anymore",    "former",       "ex",         "cancel",
     "cancels",      "canceled", "cancelled", "canceling", "cancelling", "cancellation", "break",      "breaks",
     "broke",        "broken",   "breaking",  "lose",      "loses",      "lost",         "losing",     "leave",
     "leaves",       "left",     "leaving",   "quit",      "quits",      "quitting",     "sell",       "sells",
     "sold",         "selling",  "end",       "ends",      "ended",      "ending",       "stop",       "stops",
     "stopped",      "stopping", "fail",      "fails",     "failed",     "failing",      "fall",       "falls",
     "fell",         "fallen",   "reject",    "rejects",   "rejected",   "decline",      "declines",   "declined",
     "refuse",       "refuses",  "refused",   "deny",      "denies",     "denied",       "delay",      "delays",
     "delayed",      "postpone", "postpones", "postponed", "withdraw",   "withdrew",     "withdrawn",  "miss",
     "misses",       "missed",   "fired",     "benign",    "negative",   "gone",         "cured",      "remission",
     "if",           "could",    "may",       "might",     "must",       "should",       "would",      "maybe",
     "perhaps",      "probably", "hope",      "hopes",     "hoped",      "hoping",       "want",       "wants",
     "wanted",       "plan",     "plans",     "planned",   "planning",   "try",          "tries",      "tried",
     "trying",       "apply",    "applies",   "applied",   "applying",   "interview",    "interviews", "interviewed",
     "interviewing", "offered",  "fear",      "fears",     "feared"});

// Between spaces, in order. The views point into `text`.
std::vector<std::string_view> wordsOf(std::string_view text);

// "Sam" for "Sam's", with either apostrophe.
std::string_view withoutPossessive(std::string_view word);

// The first five letters (all of a shorter word) of every content word, lower-cased, in order: runs of at least four
// letters that are neither stop words nor the first name.
std::vector<std::string> contentStems(std::string_view sentence, std::string_view firstName);

// Beginnings of what a sentence says after the name that it begins with.
struct Telling {
  std::set<std::string> stems;    // the first five letters of every other word but function words; with digits, all
  std::set<std::string> turning;  // the words that turn a meaning round, whole; "n't" counts as "not"

  bool addsNothingTo(const Telling& other) const;
};

// The leading name is `firstName`, or else the first word. When what happened is about something of the person's
// ("Sam's dad"), that turns the meaning as well.
Telling telling(std::string_view sentence, std::string_view firstName);

}  // namespace NewsWords

}  // namespace pellora
