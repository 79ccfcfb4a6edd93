#include "Companion/Evaluation/WhoDidWhat.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Language/NewsWords.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using namespace std::string_view_literals;

// A deed counts as told when so many of its telling words are in the sentence, or all of them.
constexpr std::size_t kTellingWords = 2;

// The first letters of the verbs of talking: "you and Sam talked about the job" says nothing of whose job it is.
constexpr std::array kTalking = {"talk"sv,  "chat"sv,    "discuss"sv, "caught"sv, "catch"sv, "joke"sv,  "joking"sv,
                                 "text"sv,  "exchang"sv, "shar"sv,    "swap"sv,   "laugh"sv, "wrote"sv, "mention"sv,
                                 "spoke"sv, "messag"sv,  "touch"sv,   "updat"sv,  "plan"sv,  "debat"sv};

// In front of somebody who is told something, given something or accompanied.
constexpr std::array kBeforeListener = {"tell"sv,   "tells"sv, "telling"sv,  "told"sv,    "ask"sv,
                                        "asks"sv,   "asked"sv, "asking"sv,   "gave"sv,    "gives"sv,
                                        "giving"sv, "show"sv,  "showed"sv,   "sent"sv,    "with"sv,
                                        "to"sv,     "for"sv,   "informed"sv, "updated"sv, "assured"sv};

constexpr std::array kPersonWords = {"he"sv, "she"sv, "his"sv, "her"sv, "they"sv, "their"sv};

template <std::size_t kCount>
bool holds(const std::array<std::string_view, kCount>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool isTalking(std::string_view word) {
  return std::any_of(kTalking.begin(), kTalking.end(), [&](std::string_view verb) { return word.starts_with(verb); });
}

// The words after the opening, lower-cased, without punctuation.
std::vector<std::string> wordsAfterOpening(std::string_view sentence, std::string_view name) {
  const std::size_t opening = std::string_view("You and ").size() + name.size();
  const std::string lower = text::lowercased(sentence.substr(std::min(opening, sentence.size())));
  std::vector<std::string> words;
  for (const std::string_view word : NewsWords::wordsOf(lower))
    if (const std::string_view bare = text::trimmedOfSpaceAndPunctuation(word); !bare.empty()) words.emplace_back(bare);
  return words;
}

// Where the deed is told, as the place of its first telling word; absent when too few of them are there.
std::optional<std::size_t> placeOf(std::string_view deed, const std::vector<std::string>& words,
                                   std::string_view name) {
  const std::vector<std::string> stems = NewsWords::contentStems(deed, name);
  std::optional<std::size_t> first;
  std::size_t told = 0;
  for (const std::string& stem : stems) {
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const std::string& word) { return word.starts_with(stem); });
    if (found == words.end()) continue;
    ++told;
    const auto place = static_cast<std::size_t>(found - words.begin());
    first = std::min(first.value_or(place), place);
  }
  if (told == 0 || told < std::min(kTellingWords, stems.size())) return std::nullopt;
  return first;
}

// Who is named at this place; nobody when it names no doer.
Doer namedAt(std::size_t place, const std::vector<std::string>& words, const std::string& name) {
  const std::string_view word = words[place];
  const std::string_view before = place > 0 ? std::string_view(words[place - 1]) : std::string_view();
  const bool isName = word == name || NewsWords::withoutPossessive(word) == name;
  if (word == "both" || word == "together") return Doer::both;
  if (isName && before == "and" && place > 1 && words[place - 2] == "you") return Doer::both;
  if (word == "your") return Doer::user;
  if (holds(kPersonWords, word) || (isName && word != name)) return Doer::person;
  if (holds(kBeforeListener, before)) return Doer::nobody;
  if (word == "you") return Doer::user;
  return isName ? Doer::person : Doer::nobody;
}

}  // namespace

Doer doerOf(std::string_view sentence, std::string_view deed, std::string_view name) {
  const std::vector<std::string> words = wordsAfterOpening(sentence, name);
  const std::optional<std::size_t> place = placeOf(deed, words, name);
  if (!place) return Doer::nobody;
  const std::string lowerName = text::lowercased(name);
  for (std::size_t back = *place + 1; back-- > 0;)
    if (const Doer doer = namedAt(back, words, lowerName); doer != Doer::nobody) return doer;
  return std::any_of(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(*place), isTalking) ? Doer::nobody
                                                                                                    : Doer::both;
}

}  // namespace pellora
