#include "PelloraMessagesCore/BirthdayFinder.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <unordered_set>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Text/Bytes.h"
#include "PelloraMessagesCore/Text/PhraseTable.h"
#include "PelloraMessagesCore/Text/Regex.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::BirthdayFinder {

namespace {

constexpr std::array<std::string_view, 6> kGreetings = {"\U0001F382",  "happy birthday", "happy bday",
                                                        "happy b-day", "happy belated",  "hbd"};
constexpr std::array<std::string_view, 3> kOffDayWords = {"belated", "early", "tomorrow"};
constexpr std::string_view kNeverNames[] = {
    "to",   "my",    "man",   "buddy", "dude", "friend", "girl",  "girlie",    "sis",    "sister", "bro",  "brother",
    "lady", "sir",   "mom",   "dad",   "mama", "papa",   "you",   "and",       "love",   "hun",    "babe", "pal",
    "old",  "again", "today", "kiddo", "big",  "little", "sweet", "beautiful", "wishes", "wishing"};
constexpr int kYoungest = 1;
constexpr int kOldest = 110;

struct Patterns {
  Regex greeting{
      R"((?i:happy\s+(?:birthday|bday|b-day))[\s,]+(?:(?i:to)\s+)?(?:(?i:little|sweet|big)\s+)?([A-Z][a-z]+))"};
  Regex wishes{R"((?i:birthday\s+(?:wishes|love|message|text))\s+(?i:for|to)\s+([A-Z][a-z]+))"};
  Regex ages[4] = {
      Regex(R"((?i:(?:she|he|they|i)(?:'s| is| turned|'m| am| just turned))\s+(\d{1,3})\b)"),
      Regex(R"((?i:turned|turning)\s+(\d{1,3})\b)"),
      Regex(R"(\b(\d{1,3})\s+(?i:today|years old|yrs old))"),
      Regex(R"(\b(\d{1,3})(?i:st|nd|rd|th)\s+(?i:birthday|bday))"),
  };
};

// One set per thread: a pattern keeps its place in the text searched.
const Patterns& patterns() {
  thread_local const Patterns instance;
  return instance;
}

bool isNeverName(const std::string& word) {
  static const std::unordered_set<std::string_view> words(std::begin(kNeverNames), std::end(kNeverNames));
  return words.contains(word);
}

template <class Words>
bool holdsAny(std::string_view lowerCase, const Words& words) {
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return lowerCase.find(word) != std::string_view::npos; });
}

// The letters, without marks and case: "José" and "JOSE" are "jose".
std::string plainLetters(std::string_view text) {
  std::string result;
  const icu::UnicodeString plain = icu::UnicodeString::fromUTF8(GuardText::withoutDisguise(text));
  for (std::int32_t place = 0; place < plain.length(); place = plain.moveIndex32(place, 1))
    if (const UChar32 scalar = plain.char32At(place); u_isalpha(scalar))
      icu::UnicodeString(scalar).toUTF8String(result);
  return result;
}

// The letters with their marks that the text begins with.
std::string_view firstWord(std::string_view text) {
  std::size_t length = 0;
  for (const std::string_view character : text::characters(text)) {
    if (!text::isLetterCharacter(character)) break;
    length += character.size();
  }
  return text.substr(0, length);
}

// Whether the wish calls the person by the first name or its beginning. The pattern knows only plain letters, so that
// it takes "Jos" from "José".
bool callsPerson(std::string_view line, const Regex& pattern, std::string_view word, std::string_view firstName) {
  // No part of the pattern looks around, so the first match is where its text occurs first; the word is its end.
  const std::string match = pattern.firstMatch(line).value_or(std::string());
  const std::size_t begin = line.find(match);
  const std::size_t wordBegin = begin == std::string_view::npos ? begin : begin + match.size() - word.size();
  const std::string called = plainLetters(begin == std::string_view::npos ? word : firstWord(line.substr(wordBegin)));
  return plainLetters(firstName).starts_with(called);
}

bool mayBeName(std::string_view word) {
  return text::isUppercaseCharacter(word) && text::characterCount(word) >= 2 && !isNeverName(text::lowercased(word));
}

std::optional<std::string> nameIn(const Regex& pattern, std::string_view line, std::string_view firstName) {
  auto word = pattern.firstMatch(line, 1);
  if (!word || !mayBeName(*word) || callsPerson(line, pattern, *word, firstName)) return std::nullopt;
  return word;
}

std::optional<std::string> name(std::string_view greetingLine, const std::vector<MessageLine>& lines,
                                std::string_view firstName) {
  if (auto found = nameIn(patterns().greeting, greetingLine, firstName)) return found;
  for (const MessageLine& line : lines) {
    if (line.fromMe) continue;
    if (auto found = nameIn(patterns().wishes, line.text, firstName)) return found;
  }
  return std::nullopt;
}

// Absent for other than ASCII digits, and out of range.
std::optional<int> validAge(const std::string& digits) {
  int value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, failure] = std::from_chars(digits.data(), end, value);
  if (failure != std::errc() || stop != end || value < kYoungest || value > kOldest) return std::nullopt;
  return value;
}

std::optional<int> age(const std::vector<MessageLine>& lines) {
  for (const MessageLine& line : lines) {
    if (line.fromMe) continue;
    const RegexText prepared(text::replacingAll(line.text, "\u2019", "'"));
    for (const Regex& pattern : patterns().ages) {
      const auto digits = pattern.firstMatch(prepared, 1);
      const auto found = digits ? validAge(*digits) : std::nullopt;
      if (found) return found;
    }
  }
  return std::nullopt;
}

// False only for a text without greeting: every greeting holds "hb", "y b" or the cake, in letters that nothing but A
// to Z turns into when lower-cased.
bool mayHoldGreeting(std::string_view text) {
  const bool holdsPair = holdsByteWindow<2>(text, [](const unsigned char* bytes) {
    const unsigned isHB =
        static_cast<unsigned>((bytes[0] | 0x20U) == 'h') & static_cast<unsigned>((bytes[1] | 0x20U) == 'b');
    const unsigned isCake = static_cast<unsigned>(bytes[0] == 0x8E) & static_cast<unsigned>(bytes[1] == 0x82);
    return isHB | isCake;
  });
  return holdsPair || holdsByteWindow<3>(text, [](const unsigned char* bytes) {
           return static_cast<unsigned>((bytes[0] | 0x20U) == 'y') & static_cast<unsigned>(bytes[1] == ' ') &
                  static_cast<unsigned>((bytes[2] | 0x20U) == 'b');
         });
}

}  // namespace

bool holdsGreeting(std::string_view text) {
  static const PhraseTable greetings(kGreetings);
  // Nearly every message ends with the quick look; lower-casing them all takes fifteen times as long.
  return mayHoldGreeting(text) && greetings.firstIn(text::lowercased(text));
}

std::optional<MessagesBirthday> find(const std::vector<MessageLine>& lines, std::string_view firstName,
                                     Instant firstMessageAt, const LocalCalendar& calendar) {
  const auto greeting = std::find_if(lines.begin(), lines.end(),
                                     [](const MessageLine& line) { return line.fromMe && holdsGreeting(line.text); });
  if (greeting == lines.end()) return std::nullopt;
  if (holdsAny(text::lowercased(greeting->text), kOffDayWords)) return std::nullopt;
  const LocalCalendar::Date date = calendar.date(firstMessageAt);
  MessagesBirthday birthday;
  birthday.name = name(greeting->text, lines, firstName);
  birthday.month = date.month;
  birthday.day = date.day;
  birthday.age = age(lines);
  birthday.wishedAt = firstMessageAt;
  return birthday;
}

}  // namespace pellora::BirthdayFinder
