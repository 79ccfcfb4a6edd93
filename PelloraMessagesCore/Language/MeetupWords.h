// The words by which MeetupGuard and MeetupDay judge, in the order in which they are looked for. All lower case.
// Tested by Tests/Core/MeetupGuardTests.cpp.
#pragma once

#include <array>
#include <string_view>

namespace pellora {

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

}  // namespace pellora
