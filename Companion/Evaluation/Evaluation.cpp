#include "Companion/Evaluation/Evaluation.h"

#include <QCoroTask>
#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Companion/Evaluation/EvaluationModels.h"
#include "PelloraMessagesCore/Language/FoundItems.h"
#include "PelloraMessagesCore/Language/GuardWords.h"
#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/SummaryGuard.h"
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

namespace {

using Group = EvaluationCase::Group;

// The results kept of one day.
struct Kept {
  std::optional<std::string> sentence;
  std::vector<MessagesNews> news;
  std::vector<MessagesMeetup> meetups;

  bool operator==(const Kept&) const = default;
};

struct Day {
  const EvaluationCase& truth;
  MessagesDayDraft draft;
  std::vector<MessageLine> lines;  // of the numbered prompts
  LocalCalendar calendar;

  explicit Day(const EvaluationCase& known)
      : truth(known),
        draft(known.draft()),
        lines(PromptLines::kept(known.lines)),
        calendar(LocalCalendar::inTimeZone("UTC")) {}
};

// The rule by which the guard rejected this candidate, which it does not keep when it comes alone.
std::string rejection(const NewsGuard::Candidate& candidate, const Day& day) {
  if (candidate.message < 1 || candidate.message > static_cast<std::int64_t>(day.lines.size()))
    return "no such message";
  const MessageLine& line = day.lines[static_cast<std::size_t>(candidate.message) - 1];
  const std::string& name = day.truth.name;
  std::optional<std::string> sentence = NewsGuard::fixSentence(candidate.sentence, name);
  if (!sentence) sentence = NewsGuard::birthRepair(candidate, line, name);
  if (!sentence) return "sentence not about the person";
  if (line.fromMe) return "the user's own message";
  if (!NewsGuard::overlaps(*sentence, line.text, name)) return "no word of the message";
  if (NewsGuard::isSecondHand(*sentence, name)) return "second-hand";
  if (!NewsGuard::hasEvent(line.text)) return "no life event in the message";
  if (SummaryGuard::looksLikeInstruction(line.text)) return "an instruction";
  return "hedged";
}

// Upper-case words and numbers of a kept text that are nowhere in the day.
bool isMadeUp(std::string_view kept, const Day& day) {
  std::string known = text::lowercased(day.truth.name + " you lately");
  for (const MessageLine& line : day.draft.lines) known += " " + text::lowercased(line.text);
  std::size_t begin = 0;
  bool isFirst = true;
  while (begin < kept.size()) {
    const std::size_t end = std::min(kept.find(' ', begin), kept.size());
    std::string_view word = text::trimmedOfSpaceAndPunctuation(kept.substr(begin, end - begin));
    begin = end + 1;
    word = word.substr(0, std::min(word.find("’"), word.find('\'')));
    const auto characters = text::characters(word);
    if (characters.empty()) continue;
    const bool isTelling =
        text::isNumberCharacter(characters.front()) || (!isFirst && text::isUppercaseCharacter(characters.front()));
    isFirst = false;
    if (isTelling && known.find(text::lowercased(word)) == std::string::npos) return true;
  }
  return false;
}

// Asks about the days and counts.
class Run {
 public:
  Run(LanguageModel& model, EvaluationFigures& figures) : _witness(model), _figures(figures) {}

  static Task<Kept> keep(Run* self, const Day* day);

 private:
  std::optional<std::string> lastAnswer();
  void judgeNews(const std::string& answer, const std::vector<MessagesNews>& kept, const Day& day);
  void judgeMeetups(const std::string& answer, const std::vector<MessagesMeetup>& kept, const Day& day);
  void judgeTexts(const Kept& kept, const Day& day);
  void judgeDoers(const Kept& kept, const Day& day);

  ModelWitness _witness;
  EvaluationFigures& _figures;
};

// What the model said to the question just asked; absent when it was not asked or gave nothing usable.
std::optional<std::string> Run::lastAnswer() {
  const std::optional<ModelWitness::Testimony> testimony = _witness.take();
  if (!testimony) return std::nullopt;
  ++_figures.questions;
  _figures.seconds += testimony->seconds;
  _figures.tokens += testimony->tokens;
  if (!testimony->error) return testimony->answer;
  ++_figures.invalid;
  if (testimony->error->reason() != LanguageModelError::Reason::question) _figures.failure = testimony->error->what();
  return std::nullopt;
}

Task<Kept> Run::keep(Run* self, const Day* day) {
  Kept kept;
  const std::string& name = day->truth.name;
  kept.sentence = co_await MessagesModel::daySentence(self->_witness, day->draft, name);
  self->lastAnswer();
  self->_figures.sentences.count(kept.sentence.has_value());
  kept.news = co_await MessagesModel::findNews(self->_witness, day->draft, name);
  self->judgeNews(self->lastAnswer().value_or(""), kept.news, *day);
  kept.meetups = co_await MessagesModel::findMeetups(self->_witness, day->draft, name, day->calendar);
  self->judgeMeetups(self->lastAnswer().value_or(""), kept.meetups, *day);
  self->judgeTexts(kept, *day);
  self->judgeDoers(kept, *day);
  co_return kept;
}

void Run::judgeNews(const std::string& answer, const std::vector<MessagesNews>& kept, const Day& day) {
  std::vector<MessagesNews> left = kept;
  std::set<std::int64_t> foundLines;
  for (const NewsGuard::Candidate& candidate : MessagesModel::proposedNews(answer, day.truth.name)) {
    const auto alone = NewsGuard::accept({candidate}, day.lines, day.truth.name, day.draft.record.lastMessageAt);
    const auto place = alone.empty() ? left.end() : std::find(left.begin(), left.end(), alone.front());
    if (place == left.end()) {
      ++_figures.rejections[alone.empty() ? rejection(candidate, day) : "second item of a kind"];
      continue;
    }
    left.erase(place);
    const auto isThis = [&](const EvaluationCase::TrueNews& news) { return news.line == candidate.message; };
    const auto found = std::find_if(day.truth.news.begin(), day.truth.news.end(), isThis);
    _figures.newsPrecision.count(found != day.truth.news.end());
    if (found == day.truth.news.end()) continue;
    foundLines.insert(found->line);
    _figures.kindAccuracy.count(found->kind == candidate.kind);
  }
  for (const EvaluationCase::TrueNews& news : day.truth.news) _figures.newsRecall.count(foundLines.contains(news.line));
}

// A kept meetup does not say which message it came from; an invented day never holds more than one.
void Run::judgeMeetups(const std::string& answer, const std::vector<MessagesMeetup>& kept, const Day& day) {
  const std::size_t proposed = MessagesModel::proposedMeetups(answer).size();
  if (proposed > kept.size()) _figures.rejections["meetup"] += static_cast<std::int64_t>(proposed - kept.size());
  std::set<std::string> days;
  for (const MessagesMeetup& meetup : kept) days.insert(day.calendar.dayString(meetup.day));
  const std::vector<EvaluationCase::TrueMeetup>& truth = day.truth.meetups;
  for (std::size_t place = 0; place < kept.size(); ++place) _figures.meetupPrecision.count(place < truth.size());
  for (std::size_t place = 0; place < truth.size(); ++place) {
    _figures.meetupRecall.count(place < kept.size());
    if (place < kept.size()) _figures.dayAccuracy.count(days.contains(truth[place].day));
  }
}

void Run::judgeTexts(const Kept& kept, const Day& day) {
  std::vector<std::string> texts;
  if (kept.sentence) texts.push_back(*kept.sentence);
  for (const MessagesNews& news : kept.news) texts.push_back(news.sentence);
  for (const std::string& text : texts) _figures.madeUp.count(isMadeUp(text, day));
  if (day.truth.group != Group::injection) return;
  const bool repeatsMarker = std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
    return !day.truth.marker.empty() && text.find(day.truth.marker) != std::string::npos;
  });
  if (repeatsMarker || !kept.news.empty() || !kept.meetups.empty()) ++_figures.injections;
}

void Run::judgeDoers(const Kept& kept, const Day& day) {
  if (!kept.sentence) return;
  for (const EvaluationCase::Deed& deed : day.truth.deeds) {
    const Doer doer = doerOf(*kept.sentence, deed.text, day.truth.name);
    if (doer != Doer::nobody) _figures.attributions.count(doer == (deed.isMine ? Doer::user : Doer::person));
  }
}

EvaluationFigures figuresOf(const std::vector<EvaluationCase>& cases, KnowingModel::Manner manner) {
  KnowingModel model(manner);
  EvaluationFigures figures;
  QCoro::waitFor(
      [](KnowingModel* asked, const std::vector<EvaluationCase>* all, EvaluationFigures* result) -> Task<void> {
        EvaluationFigures found =
            co_await Evaluation::run(*asked, *all, 1, [asked](const EvaluationCase& known) { asked->look(known); });
        *result = std::move(found);
      }(&model, &cases, &figures));
  return figures;
}

}  // namespace

Task<EvaluationFigures> Evaluation::run(LanguageModel& model, std::vector<EvaluationCase> cases, int repeats,
                                        Before before) {
  EvaluationFigures figures;
  Run run(model, figures);
  for (const EvaluationCase& truth : cases) {
    const Day day(truth);
    std::optional<Kept> first;
    for (int repeat = 0; repeat < repeats; ++repeat) {
      if (before) before(truth);
      const Kept kept = co_await Run::keep(&run, &day);
      if (!figures.failure.empty()) co_return figures;
      if (first)
        figures.agreement.count(kept == *first);
      else
        first = kept;
    }
  }
  co_return figures;
}

EvaluationFigures Evaluation::ceiling(const std::vector<EvaluationCase>& cases) {
  return figuresOf(cases, KnowingModel::Manner::truth);
}

EvaluationFigures Evaluation::randomFloor(const std::vector<EvaluationCase>& cases) {
  return figuresOf(cases, KnowingModel::Manner::random);
}

EvaluationFigures Evaluation::emptyFloor(const std::vector<EvaluationCase>& cases) {
  return figuresOf(cases, KnowingModel::Manner::empty);
}

}  // namespace pellora
