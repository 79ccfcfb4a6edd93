#include "PelloraMessagesCore/NewsRepeats.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/NewsWords.h"
#include "PelloraMessagesCore/Text.h"

namespace pellora {

namespace NewsRepeats {

namespace {

bool beginsUpperCase(std::string_view word) {
  const std::vector<std::string_view> characters = text::characters(word);
  return !characters.empty() && text::isUppercaseCharacter(characters.front());
}

// The two sentences after the name that both begin with: their first word, and the capitalised words after it that
// both have as well, since a first name may be of several words.
std::pair<std::string, std::string> withoutLeadingName(std::string_view left, std::string_view right) {
  const std::vector<std::string_view> leftWords = NewsWords::wordsOf(left);
  const std::vector<std::string_view> rightWords = NewsWords::wordsOf(right);
  const auto sharedName = [&](std::size_t place) {
    return place < leftWords.size() && place < rightWords.size() && beginsUpperCase(leftWords[place]) &&
           text::equalIgnoringCase(NewsWords::withoutPossessive(leftWords[place]),
                                   NewsWords::withoutPossessive(rightWords[place]));
  };
  std::size_t count = 1;
  if (sharedName(0))
    while (sharedName(count)) ++count;
  const auto joinedFrom = [count](const std::vector<std::string_view>& words) {
    std::string rest;
    for (std::size_t place = count; place < words.size(); ++place)
      rest += (rest.empty() ? "" : " ") + std::string(words[place]);
    return rest;
  };
  return {joinedFrom(leftWords), joinedFrom(rightWords)};
}

// Whether `right` says everything that `left` does. Both are without their leading names.
bool isSaidBy(const std::string& left, const std::string& right) {
  const std::vector<std::string> stems = NewsWords::contentStems(left, "");
  if (stems.empty()) return text::equalIgnoringCase(left, right);
  const std::string lower = text::lowercased(right);
  return std::all_of(stems.begin(), stems.end(),
                     [&](const std::string& stem) { return lower.find(stem) != std::string::npos; });
}

}  // namespace

bool saysTheSame(const MessagesNews& left, const MessagesNews& right) {
  if (left.kind != right.kind) return false;
  const auto [leftRest, rightRest] = withoutLeadingName(left.sentence, right.sentence);
  return isSaidBy(leftRest, rightRest) || isSaidBy(rightRest, leftRest);
}

}  // namespace NewsRepeats

std::vector<MessagesNews> NewsGuard::withoutRepeats(const std::vector<MessagesNews>& news) {
  std::vector<MessagesNews> kept;
  for (const MessagesNews& item : news)
    if (std::none_of(kept.begin(), kept.end(),
                     [&](const MessagesNews& other) { return NewsRepeats::saysTheSame(other, item); }))
      kept.push_back(item);
  return kept;
}

}  // namespace pellora
