#include "PelloraMessagesCore/MeetupGuard.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

#include "PelloraMessagesCore/Language/GuardText.h"
#include "PelloraMessagesCore/Language/GuardWords.h"
#include "PelloraMessagesCore/SummaryGuard.h"
#include "PelloraMessagesCore/Text/PhraseTable.h"
#include "PelloraMessagesCore/Text/Regex.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::MeetupGuard {

namespace {

constexpr std::size_t kLongestWhat = 40;  // characters

// The first of the cue phrases in a prepared text.
std::optional<std::string> cuePhraseIn(std::string_view prepared) {
  static const PhraseTable table(MeetupWords::kCuePhrases);
  const std::optional<std::size_t> place = table.firstIn(prepared);
  if (!place) return std::nullopt;
  return std::string(MeetupWords::kCuePhrases[*place]);
}

std::optional<std::string_view> catchUpPhraseIn(std::string_view prepared) {
  static const PhraseTable table(MeetupWords::kCatchUpPhrases);
  const std::optional<std::size_t> place = table.firstIn(prepared);
  if (!place) return std::nullopt;
  return MeetupWords::kCatchUpPhrases[*place];
}

std::string activityPattern() {
  std::string pattern;
  for (const std::string_view word : MeetupWords::kActivityWords) {
    pattern += pattern.empty() ? "\\b(?:" : "|";
    pattern += word;
  }
  return pattern + ")\\b";
}

bool namesActivity(std::string_view prepared) {
  thread_local const Regex activity(activityPattern());
  return activity.matches(prepared);
}

// The letters and apostrophes that the text begins with, after anything that is neither.
std::string_view firstWord(std::string_view text) {
  std::size_t begin = text.size();
  std::size_t end = 0;
  for (const std::string_view character : text::characters(text)) {
    const auto offset = static_cast<std::size_t>(character.data() - text.data());
    const bool isInWord = text::isLetterCharacter(character) || (character == "'" && begin < text.size());
    if (!isInWord && begin < text.size()) break;
    if (!isInWord) continue;
    begin = std::min(begin, offset);
    end = offset + character.size();
  }
  return begin < end ? text::trimmedOfPunctuation(text.substr(begin, end - begin)) : std::string_view();
}

// Whether the text after a catch-up phrase says that it was with somebody else.
bool isWithSomebodyElse(std::string_view rest) {
  constexpr std::string_view kWith = " with ";
  const std::size_t with = rest.find(kWith);
  if (with == std::string_view::npos) return false;
  const std::string_view word = firstWord(rest.substr(with + kWith.size()));
  return std::find(MeetupWords::kCompanyWords.begin(), MeetupWords::kCompanyWords.end(), word) ==
         MeetupWords::kCompanyWords.end();
}

// The cue phrase of the first line that has one and is not about a call.
std::optional<std::string> vouchingCue(const std::vector<MessageLine>& lines) {
  for (const MessageLine& line : lines) {
    if (mentionsCall(line.text)) continue;
    if (std::optional<std::string> cue = cuePhraseIn(GuardText::prepared(line.text))) return cue;
  }
  return std::nullopt;
}

std::string keptWhat(std::string_view what, std::string_view message) {
  std::string words = copiedWords(what, message);
  if (GuardText::isLongerThan(words, kLongestWhat) || SummaryGuard::looksLikeLink(words)) words.clear();
  return words;
}

}  // namespace

std::optional<std::string> cueIn(std::string_view text) {
  const std::string prepared = GuardText::prepared(text);
  if (std::optional<std::string> cue = cuePhraseIn(prepared)) return cue;
  const std::optional<std::string_view> phrase = catchUpPhraseIn(prepared);
  if (!phrase) return std::nullopt;
  if (GuardText::containsAny(prepared, MeetupWords::kFuturePhrases)) return std::nullopt;
  const std::size_t end = prepared.find(*phrase) + phrase->size();
  if (isWithSomebodyElse(std::string_view(prepared).substr(end))) return std::nullopt;
  if (!namesActivity(prepared)) return std::nullopt;
  return std::string(*phrase);
}

bool mentionsCall(std::string_view text) {
  return GuardText::containsAny(text::lowercased(text), MeetupWords::kCallPhrases);
}

std::string copiedWords(std::string_view modelText, std::string_view message) {
  const std::string repaired = text::repairedUtf8(modelText);
  const std::string_view words = text::trimmedOfSpaceAndPunctuation(repaired);
  // An empty needle is nowhere.
  return text::findIgnoringCase(message, words) ? std::string(words) : std::string();
}

std::vector<MessagesMeetup> accept(const std::vector<Candidate>& candidates, const std::vector<MessageLine>& lines,
                                   Instant referenceDate, const LocalCalendar& calendar) {
  std::vector<MessagesMeetup> kept;
  std::unordered_set<std::string> takenDays;
  for (const Candidate& candidate : candidates) {
    if (candidate.message < 1 || std::cmp_greater(candidate.message, lines.size())) continue;
    const std::string& message = lines[static_cast<std::size_t>(candidate.message) - 1].text;
    std::optional<std::string> cue = cueIn(message);
    if (!cue) cue = vouchingCue(lines);
    if (!cue) continue;
    if (mentionsCall(message)) continue;
    if (SummaryGuard::looksLikeInstruction(message)) continue;
    const MeetupDay::Resolved resolved =
        MeetupDay::resolve(copiedWords(candidate.when, message), referenceDate, calendar);
    if (!takenDays.insert(calendar.dayString(resolved.day)).second) continue;
    kept.push_back({keptWhat(candidate.what, message), resolved.day, resolved.isDayFromWords, referenceDate, cue});
  }
  return kept;
}

}  // namespace pellora::MeetupGuard

namespace pellora::MeetupDay {

namespace {

constexpr int kDaysAWeek = 7;
constexpr int kSunday = 1;
constexpr int kSaturday = 7;

bool contains(std::string_view words, std::string_view part) {
  return words.find(part) != std::string_view::npos;
}

// Days back to the weekend's Saturday: on a weekend this one's, and for "last weekend" the one before.
int daysSinceWeekend(std::string_view words, int weekday) {
  const bool isWeekend = weekday == kSaturday || weekday == kSunday;
  return weekday % kDaysAWeek + (isWeekend && contains(words, "last") ? kDaysAWeek : 0);
}

// Days back to the first weekday named, a week when it is today's.
std::optional<int> daysSinceNamedWeekday(std::string_view words, int weekday) {
  for (int named = 1; named <= kDaysAWeek; ++named) {
    if (!contains(words, MeetupWords::kWeekdays[static_cast<std::size_t>(named) - 1])) continue;
    const int back = (weekday - named + kDaysAWeek) % kDaysAWeek;
    return back == 0 ? kDaysAWeek : back;
  }
  return std::nullopt;
}

// How many days before the message the words mean, absent when they say nothing about a day.
std::optional<int> daysBack(std::string_view words, int weekday) {
  if (GuardText::containsAny(words, MeetupWords::kSameDayWords)) return 0;
  if (contains(words, "yesterday") || contains(words, "last night")) return 1;
  if (contains(words, "weekend")) return daysSinceWeekend(words, weekday);
  if (const std::optional<int> back = daysSinceNamedWeekday(words, weekday)) return back;
  if (contains(words, "last week")) return kDaysAWeek;
  return std::nullopt;
}

}  // namespace

Resolved resolve(std::string_view when, Instant referenceDate, const LocalCalendar& calendar) {
  const Instant base = calendar.startOfDay(referenceDate);
  const std::optional<int> back = daysBack(text::lowercased(when), calendar.weekday(base));
  if (!back) return {base, false};
  if (*back == 0) return {base, true};
  // Once more the start, where clocks change at midnight and the wall-clock time is not the day's first.
  return {calendar.startOfDay(calendar.addingDays(base, -*back)), true};
}

}  // namespace pellora::MeetupDay
