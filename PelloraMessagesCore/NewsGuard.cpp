#include "PelloraMessagesCore/NewsGuard.h"

#include <algorithm>
#include <array>
#include <utility>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Language/GuardWords.h"
#include "PelloraMessagesCore/SummaryGuard.h"
#include "PelloraMessagesCore/Text/PhraseTable.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::NewsGuard {

namespace {

constexpr std::size_t kMostItems = 3;          // of one day
constexpr std::size_t kLongestSentence = 140;  // characters
constexpr std::size_t kEmptyTalk = 5;          // characters more than the name that say nothing
constexpr std::size_t kLongestWhen = 40;       // characters
constexpr std::size_t kNameWords = 3;          // of a newborn's sentence, where the name is looked for
constexpr std::size_t kShortestName = 2;       // letters

const PhraseTable& eventStems() {
  static const PhraseTable table(NewsWords::kEventStems);
  return table;
}

std::string cleaned(std::string_view sentence) {
  const std::string oneLine = GuardText::onOneLine(sentence);
  return std::string(text::trimmed(oneLine));
}

// Up to the first "." or "!" after the `opening` bytes at the beginning: a name may end in a full stop.
std::string_view upToFirstMark(std::string_view sentence, std::size_t opening) {
  constexpr std::string_view kMarks = ".!";
  for (std::size_t mark = sentence.find_first_of(kMarks, opening); mark != std::string_view::npos;
       mark = sentence.find_first_of(kMarks, mark + 1))
    if (GuardText::isWholeCharacter(sentence, mark) && !GuardText::isFullStopOfAbbreviation(sentence, mark))
      return sentence.substr(0, mark + 1);
  return sentence;
}

// The length of the name at the beginning, when a space or the possessive follows it.
std::optional<std::size_t> leadingName(std::string_view sentence, std::string_view firstName) {
  for (const std::string_view tail : {" ", "\u2019s "})
    if (text::prefixLengthIgnoringCase(sentence, std::string(firstName) + std::string(tail)))
      return text::prefixLengthIgnoringCase(sentence, firstName);
  return std::nullopt;
}

bool isApostrophe(std::string_view character) {
  return character == "'" || character == "\u2019";
}

// The letters, hyphens and apostrophes that the word begins with, after any opening punctuation.
std::string_view spelledPart(std::string_view word) {
  word = text::trimmedOfPunctuation(word);
  std::size_t length = 0;
  for (const std::string_view character : text::characters(word)) {
    if (!text::isLetterCharacter(character) && character != "-" && !isApostrophe(character)) break;
    length += character.size();
  }
  return NewsWords::withoutPossessive(text::trimmedOfPunctuation(word.substr(0, length)));
}

bool isCapitalisedName(std::string_view word) {
  const std::vector<std::string_view> characters = text::characters(word);
  if (characters.empty() || !text::isUppercaseCharacter(characters.front())) return false;
  return std::count_if(characters.begin(), characters.end(), text::isLetterCharacter) >=
         static_cast<std::ptrdiff_t>(kShortestName);
}

std::optional<std::string_view> babyName(std::string_view sentence) {
  std::vector<std::string_view> words = NewsWords::wordsOf(sentence);
  if (words.size() > kNameWords) words.resize(kNameWords);
  for (const std::string_view word : words)
    if (const std::string_view name = spelledPart(word); isCapitalisedName(name)) return name;
  return std::nullopt;
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

bool holdsHedge(std::string_view source) {
  return GuardText::containsAny(GuardText::prepared(source), NewsWords::kHedges);
}

std::string keptWhen(std::string_view when, std::string_view source) {
  const std::string repaired = text::repairedUtf8(when);
  const std::string_view words = text::trimmedOfSpaceAndPunctuation(repaired);
  if (words.empty() || GuardText::isLongerThan(words, kLongestWhen)) return {};
  if (!text::findIgnoringCase(source, words) || SummaryGuard::looksLikeLink(words)) return {};
  return std::string(words);
}

// Whether any sentence at all could be kept from this line.
bool canBearOut(const MessageLine& line) {
  return !line.fromMe && hasEvent(line.text) && !holdsHedge(line.text) &&
         !SummaryGuard::looksLikeInstruction(line.text);
}

bool isBorneOut(std::string_view sentence, const MessageLine& line, std::string_view firstName) {
  return canBearOut(line) && overlaps(sentence, line.text, firstName) && !isSecondHand(sentence, firstName);
}

}  // namespace

std::vector<MessagesNews> accept(const std::vector<Candidate>& candidates, const std::vector<MessageLine>& lines,
                                 std::string_view firstName, Instant referenceDate) {
  std::vector<MessagesNews> kept;
  for (const Candidate& candidate : candidates) {
    if (kept.size() == kMostItems) break;
    if (candidate.message < 1 || std::cmp_greater(candidate.message, lines.size())) continue;
    const MessageLine& line = lines[static_cast<std::size_t>(candidate.message) - 1];
    std::optional<std::string> sentence = fixSentence(candidate.sentence, firstName);
    if (!sentence) sentence = birthRepair(candidate, line, firstName);
    if (!sentence || !isBorneOut(*sentence, line, firstName)) continue;
    const bool isKindTaken =
        std::any_of(kept.begin(), kept.end(), [&](const MessagesNews& news) { return news.kind == candidate.kind; });
    if (isKindTaken) continue;
    kept.push_back({std::move(*sentence), candidate.kind, keptWhen(candidate.when, line.text), referenceDate});
  }
  return kept;
}

bool hasCandidateLine(const std::vector<MessageLine>& lines) {
  return std::any_of(lines.begin(), lines.end(), canBearOut);
}

std::optional<std::string> fixSentence(std::string_view sentence, std::string_view firstName) {
  const std::string whole = cleaned(sentence);
  const std::optional<std::size_t> nameLength = leadingName(whole, firstName);
  if (!nameLength) return std::nullopt;
  const std::string_view first = upToFirstMark(whole, *nameLength);
  if (GuardText::isLongerThan(first, kLongestSentence)) return std::nullopt;
  if (!GuardText::isLongerThan(first, text::characterCount(firstName) + kEmptyTalk)) return std::nullopt;
  if (SummaryGuard::looksLikeLink(first)) return std::nullopt;
  return std::string(firstName) + std::string(first.substr(*nameLength));
}

std::optional<std::string> birthRepair(const Candidate& candidate, const MessageLine& line,
                                       std::string_view firstName) {
  if (candidate.kind != MessagesNews::Kind::family || line.fromMe) return std::nullopt;
  const std::string sentence = cleaned(candidate.sentence);
  if (!contains(text::lowercased(sentence), "born")) return std::nullopt;
  const std::optional<std::string_view> name = babyName(sentence);
  if (!name || text::equalIgnoringCase(*name, firstName)) return std::nullopt;
  // As written: "Her" does not occur in "she is here".
  if (!contains(line.text, *name)) return std::nullopt;
  std::string result = std::string(firstName) + " had a baby, " + std::string(*name);
  if (GuardText::isLongerThan(result, kLongestSentence)) return std::nullopt;
  return result;
}

bool overlaps(std::string_view sentence, std::string_view source, std::string_view firstName) {
  const std::string lower = text::lowercased(source);
  const std::vector<std::string> stems = NewsWords::contentStems(sentence, firstName);
  return std::any_of(stems.begin(), stems.end(), [&](const std::string& stem) { return contains(lower, stem); });
}

bool isSecondHand(std::string_view sentence, std::string_view firstName) {
  const std::string_view rest = text::droppingFirst(sentence, text::characterCount(firstName));
  const std::string lower = text::lowercased(text::trimmed(rest));
  return std::any_of(NewsWords::kSecondHandOpenings.begin(), NewsWords::kSecondHandOpenings.end(),
                     [&](std::string_view opening) { return lower.starts_with(opening); });
}

bool hasEvent(std::string_view source) {
  return eventStems().anyBeginsWord(GuardText::prepared(source));
}

std::vector<MessagesNews> withoutRepeats(const std::vector<MessagesNews>& news, std::string_view firstName) {
  std::vector<MessagesNews> kept;
  std::vector<NewsWords::Telling> told;  // by `kept`
  for (const MessagesNews& item : news) {
    NewsWords::Telling telling = NewsWords::telling(item.sentence, firstName);
    bool addsNothing = false;
    for (std::size_t place = 0; place < kept.size() && !addsNothing; ++place)
      addsNothing = kept[place].kind == item.kind && telling.addsNothingTo(told[place]);
    if (addsNothing) continue;
    kept.push_back(item);
    told.push_back(std::move(telling));
  }
  return kept;
}

}  // namespace pellora::NewsGuard
