#include "PelloraMessagesCore/Language/NewsWords.h"

#include <algorithm>
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

}  // namespace pellora::NewsWords
