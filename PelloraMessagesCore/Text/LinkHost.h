// Host names of links: where one ends in a text, known top-level domains, international names, addresses of machines,
// ports, and the words by which a bare name is told from chat typing. Pure functions, callable from any thread; time is
// in proportion to the name's length. Tested by Tests/Core/LinkDetectorTests.cpp and LinkWordsTests.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pellora::LinkHost {

// Longer names are none.
inline constexpr std::size_t kMaximumBytes = 253;

// A host name in a text: where it ends, and how it is written in an address.
struct Found {
  std::size_t end = 0;
  std::string ascii;
  bool isComplete = false;  // no text was cut off after it, so a port or a path may follow
};

// The name at `begin` of an address with a scheme: any valid name, whether or not its top-level domain exists.
std::optional<Found> nameAt(std::string_view text, std::size_t begin);

// The end of a full stop directly after a name that ends at `end`, when more of an address follows it
// ("example.com./a"); else `end`.
std::size_t emptyLabelEnd(std::string_view text, std::size_t end);

// "[::1]" at `begin`.
std::optional<Found> addressInBracketsAt(std::string_view text, std::size_t begin);

// A valid name as it is written in an address: international names in punycode, ASCII ones as they are.
std::optional<std::string> ascii(std::string_view host);

// Whether the name's last label is a top-level domain of the public list, in any case or alphabet.
bool endsInTopLevelDomain(std::string_view host);

// Whether a name with a known top-level domain, but without scheme, "www.", port and path, was meant as an address:
// chat typing has many words with a full stop and no space after it.
bool isMeant(std::string_view host);

// "192.168.0.1": four numbers from 0 to 255.
bool isIPv4(std::string_view host);

// The address between the brackets of "[::1]".
bool isIPv6(std::string_view address);

// `host` without a text in a script without spaces or symbols directly after a complete name ("example.com" followed
// by Chinese); all of it when it has a known top-level domain as it is, or no such name within.
std::string_view withoutTextBehind(std::string_view host);

// The end of ":8080" at `begin`, or of ":" alone when a path follows; `begin` without a port; absent when the number is
// too large, so that nothing can open the address.
std::optional<std::size_t> portEnd(std::string_view text, std::size_t begin);

}  // namespace pellora::LinkHost

// How a bare host name is told from chat typing, which has many words with a full stop and no space after it ("see you
// at night.tc", "ok.lk"): by the top-level domains that people write on purpose, and by words that are no names of
// hosts. With a scheme, "www.", a port or a path every known top-level domain counts. All tables are in lower case.
namespace pellora::LinkWords {

// Meant whatever comes before them and however they are written.
inline constexpr auto kCommonDomains = std::to_array<std::string_view>({"com", "net", "org"});

// The other old generic domains and the most used ones of countries, without those that are words ("in", "it", "no") or
// that chat uses as words ("cn" can, "lk" like, "tc" take care). The last ones are рф, укр, бел, срб, бг and ελ.
inline constexpr auto kOtherDomains = std::to_array<std::string_view>(
    {"edu", "gov", "mil", "int",      "info",      "biz",       "au",         "br",       "ca",      "ch",
     "cz",  "de",  "dk",  "es",       "eu",        "fi",        "fr",         "gr",       "hu",      "io",
     "jp",  "kr",  "mx",  "nl",       "nz",        "pl",        "pt",         "ro",       "ru",      "se",
     "sk",  "ua",  "uk",  "xn--p1ai", "xn--j1amh", "xn--90ais", "xn--90a3ac", "xn--90ae", "xn--qxam"});

// "example.co.in" is a host although "in" is a word.
inline constexpr auto kSharedSecondLevels =
    std::to_array<std::string_view>({"ac", "co", "com", "edu", "gov", "net", "org"});

// Before one of the other domains these are the end of a sentence.
inline constexpr auto kChatWords = std::to_array<std::string_view>(
    {"about", "after",  "again",   "ah",       "all",       "alright", "also",   "already", "always", "am",
     "and",   "anyway", "are",     "at",       "away",      "back",    "bad",    "bah",     "be",     "because",
     "bed",   "before", "better",  "both",     "bro",       "bus",     "busy",   "but",     "bye",    "call",
     "can",   "car",    "class",   "come",     "coming",    "cool",    "cos",    "cuz",     "dad",    "day",
     "days",  "dear",   "dinner",  "do",       "does",      "done",    "down",   "dude",    "early",  "eat",
     "else",  "even",   "ever",    "fine",     "first",     "for",     "free",   "friend",  "from",   "fun",
     "get",   "girl",   "give",    "go",       "going",     "gone",    "good",   "got",     "great",  "guys",
     "haha",  "hahaha", "happy",   "have",     "he",        "hehe",    "hello",  "her",     "here",   "hey",
     "hi",    "him",    "hmm",     "home",     "hour",      "hours",   "house",  "how",     "is",     "it",
     "job",   "just",   "know",    "la",       "lah",       "last",    "late",   "later",   "leave",  "like",
     "lmao",  "lol",    "lor",     "love",     "luck",      "lunch",   "man",    "mate",    "maybe",  "me",
     "mine",  "minute", "minutes", "mom",      "money",     "month",   "more",   "morning", "much",   "mum",
     "my",    "nah",    "nice",    "night",    "no",        "nope",    "not",    "nothing", "now",    "of",
     "off",   "oh",     "ok",      "okay",     "okie",      "on",      "one",    "only",    "or",     "out",
     "over",  "people", "phone",   "please",   "pls",       "problem", "really", "right",   "room",   "sad",
     "said",  "school", "see",     "she",      "sick",      "sleep",   "so",     "some",    "soon",   "sorry",
     "stay",  "still",  "sure",    "take",     "talk",      "tea",     "thanks", "that",    "the",    "their",
     "them",  "then",   "there",   "they",     "thing",     "things",  "think",  "this",    "thx",    "time",
     "tired", "to",     "today",   "together", "tomorrow",  "tonight", "too",    "town",    "true",   "try",
     "up",    "ur",     "us",      "wait",     "was",       "way",     "we",     "week",    "well",   "what",
     "when",  "where",  "why",     "will",     "with",      "work",    "ya",     "yay",     "yea",    "yeah",
     "year",  "years",  "yep",     "yes",      "yesterday", "yet",     "you",    "your"});

}  // namespace pellora::LinkWords
