#include "PelloraMessagesCore/NewsRepeats.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/NewsWords.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace NewsRepeats {

namespace {

// Where the name that the sentence begins with ends, a possessive included. Its first word stands for a name that it
// does not begin with: the person may have had another when it was written.
std::size_t endOfName(std::string_view sentence, std::string_view firstName) {
  const std::vector<std::string_view> words = NewsWords::wordsOf(sentence);
  if (words.empty()) return 0;
  const auto endOf = [sentence](std::string_view word) {
    return static_cast<std::size_t>(word.data() - sentence.data()) + word.size();
  };
  const std::optional<std::size_t> nameEnd =
      firstName.empty() ? std::nullopt : text::prefixLengthIgnoringCase(sentence, firstName);
  if (!nameEnd) return endOf(words.front());
  for (const std::string_view word : words) {
    if (endOf(word) < *nameEnd) continue;
    const bool isName = endOf(NewsWords::withoutPossessive(word)) == *nameEnd || endOf(word) == *nameEnd;
    return endOf(isName ? word : words.front());
  }
  return *nameEnd;
}

std::string withoutLeadingName(std::string_view sentence, std::string_view firstName) {
  std::string rest;
  for (const std::string_view word : NewsWords::wordsOf(sentence.substr(endOfName(sentence, firstName))))
    rest += (rest.empty() ? "" : " ") + std::string(word);
  return rest;
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

bool saysTheSame(const MessagesNews& left, const MessagesNews& right, std::string_view firstName) {
  if (left.kind != right.kind) return false;
  const std::string leftRest = withoutLeadingName(left.sentence, firstName);
  const std::string rightRest = withoutLeadingName(right.sentence, firstName);
  return isSaidBy(leftRest, rightRest) || isSaidBy(rightRest, leftRest);
}

}  // namespace NewsRepeats

std::vector<MessagesNews> NewsGuard::withoutRepeats(const std::vector<MessagesNews>& news, std::string_view firstName) {
  std::vector<MessagesNews> kept;
  for (const MessagesNews& item : news)
    if (std::none_of(kept.begin(), kept.end(),
                     [&](const MessagesNews& other) { return NewsRepeats::saysTheSame(other, item, firstName); }))
      kept.push_back(item);
  return kept;
}

}  // namespace pellora
