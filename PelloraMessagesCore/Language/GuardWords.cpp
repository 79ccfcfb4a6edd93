#include "PelloraMessagesCore/Language/GuardWords.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::NewsWords {

namespace {

constexpr std::size_t kShortestContentWord = 4;  // letters
constexpr std::size_t kStemLength = 5;           // letters

bool isStopWord(std::string_view word) {
  static const std::unordered_set<std::string_view> words(kStopWords.begin(), kStopWords.end());
  return words.contains(word);
}

template <std::size_t kCount>
bool isOneOf(const std::array<std::string_view, kCount>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// Where the name that the sentence begins with ends, a possessive included.
std::size_t endOfName(std::string_view sentence, std::string_view firstName) {
  const std::vector<std::string_view> words = wordsOf(sentence);
  if (words.empty()) return 0;
  const auto endOf = [sentence](std::string_view word) {
    return static_cast<std::size_t>(word.data() - sentence.data()) + word.size();
  };
  const std::optional<std::size_t> nameEnd =
      firstName.empty() ? std::nullopt : text::prefixLengthIgnoringCase(sentence, firstName);
  if (!nameEnd) return endOf(words.front());
  for (const std::string_view word : words) {
    if (endOf(word) < *nameEnd) continue;
    const bool isName = endOf(withoutPossessive(word)) == *nameEnd || endOf(word) == *nameEnd;
    return endOf(isName ? word : words.front());
  }
  return *nameEnd;
}

// Runs of letters, digits and inner apostrophes, lower-cased; the possessive is left out.
std::vector<std::string> spokenWords(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  const auto endWord = [&] {
    while (word.ends_with('\'')) word.pop_back();
    if (!word.empty()) words.emplace_back(withoutPossessive(word));
    word.clear();
  };
  const std::string lower = text::canonical(text::replacingAll(text::lowercased(text), "\u2019", "'"));
  for (const std::string_view character : text::characters(lower))
    if (text::isLetterCharacter(character) || text::isNumberCharacter(character) || (character == "'" && !word.empty()))
      word += character;
    else
      endWord();
  endWord();
  return words;
}

bool isParticiple(std::string_view word) {
  return word.ends_with("ed");
}

// Whether a word after "Sam's" makes the apostrophe a verb: "Sam's getting married", "Sam's a mother".
bool followsVerb(std::string_view word) {
  return word.ends_with("ing") || isParticiple(word) || isOneOf(kFunctionWords, word) || isOneOf(kTurningWords, word);
}

std::string stem(std::string_view word) {
  const std::vector<std::string_view> characters = text::characters(word);
  if (characters.size() <= kStemLength || std::any_of(characters.begin(), characters.end(), text::isNumberCharacter))
    return std::string(word);
  return std::string(word.substr(0, static_cast<std::size_t>(characters[kStemLength].data() - word.data())));
}

}  // namespace

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  text = text::trimmed(text);
  std::size_t begin = 0;
  for (std::size_t offset = 0; offset <= text.size(); ++offset) {
    if (offset < text.size() && text[offset] != ' ') continue;
    if (offset > begin) words.push_back(text.substr(begin, offset - begin));
    begin = offset + 1;
  }
  return words;
}

std::string_view withoutPossessive(std::string_view word) {
  for (const std::string_view ending : {"'s", "\u2019s"})
    if (word.ends_with(ending)) return word.substr(0, word.size() - ending.size());
  return word;
}

std::vector<std::string> contentStems(std::string_view sentence, std::string_view firstName) {
  const std::string lower = text::replacingAll(text::lowercased(sentence), "\u2019", "'");
  const std::string name = text::canonical(text::lowercased(firstName));
  std::vector<std::string> stems;
  std::vector<std::string_view> letters;
  const auto endWord = [&] {
    if (letters.size() >= kShortestContentWord) {
      const char* begin = letters.front().data();
      const std::string_view word(begin,
                                  static_cast<std::size_t>(letters.back().data() - begin) + letters.back().size());
      const std::string_view& last = letters[std::min(letters.size(), kStemLength) - 1];
      if (text::canonical(word) != name && !isStopWord(word))
        stems.emplace_back(begin, static_cast<std::size_t>(last.data() - begin) + last.size());
    }
    letters.clear();
  };
  for (const std::string_view character : text::characters(lower))
    if (text::isLetterCharacter(character))
      letters.push_back(character);
    else
      endWord();
  endWord();
  return stems;
}

bool Telling::addsNothingTo(const Telling& other) const {
  return turning == other.turning && std::includes(other.stems.begin(), other.stems.end(), stems.begin(), stems.end());
}

Telling telling(std::string_view sentence, std::string_view firstName) {
  const std::size_t nameEnd = endOfName(sentence, firstName);
  const std::string_view name = sentence.substr(0, nameEnd);
  const std::vector<std::string> words = spokenWords(sentence.substr(nameEnd));
  Telling result;
  if (!words.empty() && withoutPossessive(name).size() < name.size() && !followsVerb(words.front()))
    result.turning.insert("'s");
  for (std::size_t place = 0; place < words.size(); ++place) {
    const std::string& word = words[place];
    const bool isPassive = isOneOf(kPassiveWords, word) && place + 1 < words.size() && isParticiple(words[place + 1]);
    if (word.ends_with("n't"))
      result.turning.insert("not");
    else if (isOneOf(kTurningWords, word))
      result.turning.insert(word);
    else if (!isPassive && !isOneOf(kFunctionWords, word))
      result.stems.insert(stem(word));
  }
  return result;
}

}  // namespace pellora::NewsWords
