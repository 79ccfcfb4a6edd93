#include "PelloraMessagesCore/SummaryGuard.h"

#include <array>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Text/LinkDetector.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::SummaryGuard {

namespace {

constexpr std::string_view kSentenceOpening = "You and ";
constexpr std::string_view kLatelyOpening = "Lately you and ";

constexpr std::size_t kLongestSentence = 280;  // characters
constexpr std::size_t kLongestLately = 420;    // characters
// A sentence no longer than its opening and this many characters says nothing.
constexpr std::size_t kEmptyTalk = 8;

constexpr std::array<std::string_view, 3> kDoubleQuotes = {"\"", "\u201C", "\u201D"};
constexpr std::array<std::string_view, 3> kLinkMarks = {"http", "www.", "://"};
constexpr std::array<std::string_view, 3> kUserWords = {"the user", "user's", "user\u2019s"};
constexpr std::array<std::string_view, 4> kOrders = {"instruction", "ignore previous", "ignore all", "ignore your"};

std::string cleaned(std::string_view answer) {
  std::string result = GuardText::onOneLine(answer);
  for (const std::string_view quote : kDoubleQuotes) result = text::replacingAll(result, quote, "");
  return std::string(text::trimmed(result));
}

bool isAsciiLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isHostByte(char byte) {
  return isAsciiLetter(byte) || (byte >= '0' && byte <= '9') || byte == '-';
}

// [A-Za-z0-9-]+\.[A-Za-z]{2,}
bool holdsDottedName(std::string_view text) {
  for (std::size_t dot = text.find('.'); dot != std::string_view::npos; dot = text.find('.', dot + 1))
    if (dot > 0 && dot + 2 < text.size() && isHostByte(text[dot - 1]) && isAsciiLetter(text[dot + 1]) &&
        isAsciiLetter(text[dot + 2]))
      return true;
  return false;
}

bool holdsDetectedLink(std::string_view text) {
  thread_local const LinkDetector detector;
  return detector.containsLink(text);
}

// The bytes that the opening takes in a text that opens as it must and neither links nor speaks of the user as of a
// third person.
std::optional<std::size_t> acceptableOpening(std::string_view text, std::string_view opening) {
  // Case folding makes at most three characters of one, so the rest of a long answer need not be folded.
  const std::size_t rest = text::droppingFirst(text, 3 * text::characterCount(opening) + 3).size();
  const auto length = text::prefixLengthIgnoringCase(text.substr(0, text.size() - rest), opening);
  if (!length || looksLikeLink(text) || mentionsUser(text)) return std::nullopt;
  return length;
}

bool saysSomething(std::string_view text, std::string_view opening) {
  return GuardText::isLongerThan(text, text::characterCount(opening) + kEmptyTalk);
}

bool endsSentence(std::string_view text, std::size_t mark) {
  if (!GuardText::isWholeCharacter(text, mark)) return false;
  if (mark + 1 == text.size()) return true;
  return text[mark + 1] == ' ' && GuardText::isWholeCharacter(text, mark + 1) &&
         !GuardText::isFullStopOfAbbreviation(text, mark);
}

// As `firstSentence`, for a text of which the first `opening` bytes end no sentence: a name may end in a full stop.
std::string firstSentenceAfter(std::string_view text, std::size_t opening) {
  constexpr std::string_view kMarks = ".!?";
  for (std::size_t mark = text.find_first_of(kMarks, opening); mark != std::string_view::npos;
       mark = text.find_first_of(kMarks, mark + 1))
    if (endsSentence(text, mark)) return std::string(text.substr(0, mark + 1));
  return std::string(text);
}

bool isLink(std::string_view lowerCase) {
  return GuardText::containsAny(lowerCase, kLinkMarks) || holdsDottedName(lowerCase) || holdsDetectedLink(lowerCase);
}

}  // namespace

std::optional<std::string> checkSentence(std::string_view answer, std::string_view firstName) {
  const std::string text = cleaned(answer);
  const std::string opening = std::string(kSentenceOpening) + std::string(firstName);
  const auto openingLength = acceptableOpening(text, opening);
  if (!openingLength) return std::nullopt;
  std::string sentence = firstSentenceAfter(text, *openingLength);
  if (GuardText::isLongerThan(sentence, kLongestSentence)) return std::nullopt;
  if (!saysSomething(sentence, opening)) return std::nullopt;
  return sentence;
}

std::optional<std::string> checkLately(std::string_view answer, std::string_view firstName) {
  const std::string text = cleaned(answer);
  const std::string opening = std::string(kLatelyOpening) + std::string(firstName);
  const auto openingLength = acceptableOpening(text, opening);
  if (!openingLength) return std::nullopt;
  std::string result = firstSentenceAfter(text, *openingLength);
  const std::string_view rest = text::trimmed(std::string_view(text).substr(result.size()));
  if (!rest.empty()) result += " " + firstSentence(rest);
  if (GuardText::isLongerThan(result, kLongestLately)) return std::nullopt;
  if (!saysSomething(result, opening)) return std::nullopt;
  return result;
}

bool looksLikeLink(std::string_view text) {
  return isLink(text::lowercased(text)) || (!text::isAscii(text) && isLink(GuardText::withoutDisguise(text)));
}

bool mentionsUser(std::string_view text) {
  return GuardText::containsAny(text::lowercased(text), kUserWords);
}

bool looksLikeInstruction(std::string_view text) {
  return GuardText::containsAny(text::lowercased(text), kOrders);
}

std::string firstSentence(std::string_view text) {
  return firstSentenceAfter(text, 0);
}

}  // namespace pellora::SummaryGuard
