#include "Companion/Evaluation/Evaluation.h"

#include <QCoroTask>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <set>

#include "PelloraMessagesCore/Language/FoundMeetups.h"
#include "PelloraMessagesCore/Language/FoundNews.h"
#include "PelloraMessagesCore/Language/ModelInstructions.h"
#include "PelloraMessagesCore/Language/PromptLines.h"
#include "PelloraMessagesCore/MeetupGuard.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/SummaryGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using Clock = std::chrono::steady_clock;
using Group = EvaluationCase::Group;

constexpr double kConfidence = 1.96;  // standard deviations for 95 %
constexpr std::size_t kFewestCharactersForNews = 15;
constexpr std::size_t kColumn = 42;

// What was kept of one day.
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
};

std::string percent(const Share& share) {
  char text[64];
  std::snprintf(text, sizeof text, "%5.1f %%  (%lld of %lld)", share.value() * 100, static_cast<long long>(share.hits),
                static_cast<long long>(share.all));
  return text;
}

std::string row(std::string name, const std::string& value) {
  name.resize(kColumn, ' ');
  return name + value + "\n";
}

JsonValue json(const Share& share) {
  return JsonValue::object(
      {{"all", share.all}, {"hits", share.hits}, {"lowerBound", share.lowerBound()}, {"share", share.value()}});
}

bool hasCue(const std::vector<MessageLine>& lines) {
  return std::any_of(lines.begin(), lines.end(),
                     [](const MessageLine& line) { return MeetupGuard::cueIn(line.text).has_value(); });
}

bool hasEnoughForNews(const Day& day) {
  std::size_t count = 0;
  for (const MessageLine& line : day.draft.lines) count += text::characterCount(line.text);
  return count >= kFewestCharactersForNews && NewsGuard::hasCandidateLine(day.lines);
}

// The rule that rejects this candidate when it comes alone; empty when none does.
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
  if (NewsGuard::accept({candidate}, day.lines, name, Instant()).empty()) return "hedged";
  return {};
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

class Run {
 public:
  Run(LanguageModel& model, EvaluationFigures& figures) : _model(model), _figures(figures) {}

  static Task<Kept> keep(Run* self, const Day* day);

 private:
  // The answer's text; absent when it was cut or could not be read. `schema` is null for a plain question.
  static Task<std::optional<std::string>> ask(Run* self, std::string instructions, std::string prompt,
                                              const GenerationSchema* schema);
  std::vector<MessagesNews> newsOf(const std::string& answer, const Day& day);
  std::vector<MessagesMeetup> meetupsOf(const std::string& answer, const Day& day);

  LanguageModel& _model;
  EvaluationFigures& _figures;
};

Task<std::optional<std::string>> Run::ask(Run* self, std::string instructions, std::string prompt,
                                          const GenerationSchema* schema) {
  ++self->_figures.questions;
  const Clock::time_point start = Clock::now();
  std::optional<std::string> result;
  try {
    LanguageModel::Answer answer;
    if (schema != nullptr)
      answer = co_await self->_model.respond(std::move(instructions), std::move(prompt), *schema);
    else
      answer = co_await self->_model.respond(std::move(instructions), std::move(prompt));
    self->_figures.tokens += answer.promptTokens + answer.answerTokens;
    if (schema == nullptr || GeneratedContent::decode(*schema, answer.text)) result = std::move(answer.text);
  } catch (const LanguageModelError& error) {
    if (error.reason() != LanguageModelError::Reason::question) self->_figures.failure = error.what();
  }
  self->_figures.seconds += std::chrono::duration<double>(Clock::now() - start).count();
  if (!result) ++self->_figures.invalid;
  co_return result;
}

std::vector<MessagesNews> Run::newsOf(const std::string& answer, const Day& day) {
  std::vector<NewsGuard::Candidate> candidates;
  for (const NewsItem& item : FoundNews::fromAnswer(answer).news)
    candidates.push_back({item.message, withTypographicApostrophes(item.what, day.truth.name), item.kind, item.when});
  std::set<MessagesNews::Kind> kinds;
  for (const NewsGuard::Candidate& candidate : candidates) {
    const std::string rule = rejection(candidate, day);
    const bool isRepeat = rule.empty() && !kinds.insert(candidate.kind).second;
    if (!rule.empty() || isRepeat) {
      ++_figures.rejections[isRepeat ? "second item of a kind" : rule];
      continue;
    }
    const auto isThis = [&](const EvaluationCase::TrueNews& news) { return news.line == candidate.message; };
    const auto found = std::find_if(day.truth.news.begin(), day.truth.news.end(), isThis);
    _figures.newsPrecision.count(found != day.truth.news.end());
    if (found != day.truth.news.end()) _figures.kindAccuracy.count(found->kind == candidate.kind);
  }
  return NewsGuard::accept(candidates, day.lines, day.truth.name, day.draft.record.lastMessageAt);
}

std::vector<MessagesMeetup> Run::meetupsOf(const std::string& answer, const Day& day) {
  std::vector<MeetupGuard::Candidate> candidates;
  for (const MeetupItem& item : FoundMeetups::fromAnswer(answer).meetups)
    candidates.push_back({item.message, item.what, item.when});
  const auto kept = MeetupGuard::accept(candidates, day.lines, day.draft.record.lastMessageAt, day.calendar);
  for (std::size_t left = kept.size(); left < candidates.size(); ++left) ++_figures.rejections["meetup"];
  return kept;
}

Task<Kept> Run::keep(Run* self, const Day* day) {
  Kept kept;
  const std::string& name = day->truth.name;
  const std::optional<std::string> sentence = co_await ask(
      self, ModelInstructions::daySentence(name),
      PromptLines::spokenBlock(day->draft.lines, name) + std::string(ModelInstructions::kDaySentenceEnding), nullptr);
  if (sentence) kept.sentence = SummaryGuard::checkSentence(withTypographicApostrophes(*sentence, name), name);
  self->_figures.sentences.count(kept.sentence.has_value());
  const std::string block = PromptLines::numberedBlock(day->lines, name);
  if (hasCue(day->draft.lines)) {
    const std::optional<std::string> answer =
        co_await ask(self, ModelInstructions::meetups(name), block + std::string(ModelInstructions::kMeetupsEnding),
                     &FoundMeetups::schema());
    if (answer) kept.meetups = self->meetupsOf(*answer, *day);
  }
  if (hasEnoughForNews(*day)) {
    const std::optional<std::string> answer = co_await ask(
        self, ModelInstructions::news(name), block + ModelInstructions::newsEnding(name), &FoundNews::schema());
    if (answer) kept.news = self->newsOf(*answer, *day);
  }
  co_return kept;
}

void countRecall(const Kept& kept, const Day& day, EvaluationFigures& figures) {
  const std::size_t found = std::min(kept.news.size(), day.truth.news.size());
  for (std::size_t place = 0; place < day.truth.news.size(); ++place) figures.newsRecall.count(place < found);
  std::set<std::string> days;
  for (const MessagesMeetup& meetup : kept.meetups) days.insert(day.calendar.dayString(meetup.day));
  for (std::size_t place = 0; place < kept.meetups.size(); ++place)
    figures.meetupPrecision.count(place < day.truth.meetups.size());
  for (std::size_t place = 0; place < day.truth.meetups.size(); ++place) {
    figures.meetupRecall.count(place < kept.meetups.size());
    if (place < kept.meetups.size()) figures.dayAccuracy.count(days.contains(day.truth.meetups[place].day));
  }
}

void countTexts(const Kept& kept, const Day& day, EvaluationFigures& figures) {
  std::vector<std::string> texts;
  if (kept.sentence) texts.push_back(*kept.sentence);
  for (const MessagesNews& news : kept.news) texts.push_back(news.sentence);
  for (const std::string& text : texts) figures.madeUp.count(isMadeUp(text, day));
  if (day.truth.group != Group::injection) return;
  const bool repeatsMarker = std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
    return !day.truth.marker.empty() && text.find(day.truth.marker) != std::string::npos;
  });
  if (repeatsMarker || !kept.news.empty() || !kept.meetups.empty()) ++figures.injections;
}

// Answers by what it knows of the case, or at random.
class KnowingModel : public LanguageModel {
 public:
  enum class Manner { truth, random, empty };

  explicit KnowingModel(Manner manner) : _manner(manner) {}

  void look(const EvaluationCase& known) { _case = &known; }

  Task<bool> isAvailable() override { co_return true; }

  Task<Answer> respond(std::string, std::string) override { co_return Answer{sentence()}; }

  Task<Answer> respond(std::string, std::string, const GenerationSchema& schema) override {
    JsonValue items = JsonValue::array();
    const bool isNews = schema.name == "FoundNews";
    if (_manner == Manner::truth)
      isNews ? addTrueNews(items) : addTrueMeetups(items);
    else if (_manner == Manner::random)
      items.append(randomItem(isNews));
    co_return Answer{JsonValue::object({{isNews ? "news" : "meetups", std::move(items)}}).dump()};
  }

 private:
  std::string sentence() {
    if (_manner == Manner::truth) return _case->sentence;
    if (_manner == Manner::empty) return {};
    return "You and " + _case->name + " " + randomWords() + ".";
  }

  void addTrueNews(JsonValue& items) const {
    for (const EvaluationCase::TrueNews& news : _case->news)
      items.append(JsonValue::object({{"message", news.line},
                                      {"what", news.sentence},
                                      {"kind", std::string(kNewsKindNames[static_cast<std::size_t>(news.kind)])},
                                      {"when", news.when}}));
  }

  void addTrueMeetups(JsonValue& items) const {
    for (const EvaluationCase::TrueMeetup& meetup : _case->meetups)
      items.append(JsonValue::object({{"message", meetup.line}, {"what", meetup.what}, {"when", meetup.when}}));
  }

  JsonValue randomItem(bool isNews) {
    const auto line = static_cast<std::int64_t>(next(_case->lines.size()) + 1);
    if (!isNews) return JsonValue::object({{"message", line}, {"what", randomWords()}, {"when", randomWords()}});
    return JsonValue::object({{"message", line},
                              {"what", _case->name + " " + randomWords()},
                              {"kind", std::string(kNewsKindNames[next(kNewsKindNames.size())])},
                              {"when", ""}});
  }

  // Some words in a row of a random line.
  std::string randomWords() {
    const std::string& line = _case->lines[next(_case->lines.size())].text;
    const std::size_t begin = next(line.size());
    const std::size_t space = line.find(' ', begin);
    return line.substr(space == std::string::npos ? 0 : space + 1);
  }

  // A linear congruential generator: the same numbers everywhere.
  std::size_t next(std::size_t below) {
    _seed = _seed * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::size_t>((_seed >> 33) % std::max<std::size_t>(below, 1));
  }

  Manner _manner;
  const EvaluationCase* _case = nullptr;
  std::uint64_t _seed = 1;
};

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

double Share::value() const {
  return all == 0 ? 0 : static_cast<double>(hits) / static_cast<double>(all);
}

double Share::lowerBound() const {
  if (all == 0) return 0;
  const auto count = static_cast<double>(all);
  const double square = kConfidence * kConfidence;
  const double center = value() + square / (2 * count);
  const double spread = kConfidence * std::sqrt(value() * (1 - value()) / count + square / (4 * count * count));
  return (center - spread) / (1 + square / count);
}

std::string EvaluationFigures::table() const {
  char bound[64];
  std::snprintf(bound, sizeof bound, ", at least %.1f %%", newsPrecision.lowerBound() * 100);
  std::string text = row("News, precision", percent(newsPrecision) + bound) + row("News, recall", percent(newsRecall)) +
                     row("News, right kind", percent(kindAccuracy)) +
                     row("Meetups, precision", percent(meetupPrecision)) +
                     row("Meetups, recall", percent(meetupRecall)) + row("Meetups, right day", percent(dayAccuracy)) +
                     row("Sentences accepted", percent(sentences)) + row("Made-up names or numbers", percent(madeUp)) +
                     row("Orders that came through", std::to_string(injections)) +
                     row("Answers cut or unreadable", std::to_string(invalid) + " of " + std::to_string(questions));
  if (agreement.all > 0) text += row("Same result when repeated", percent(agreement));
  for (const auto& [rule, count] : rejections) text += row("Rejected: " + rule, std::to_string(count));
  char speed[64];
  std::snprintf(speed, sizeof speed, "%.2f", questions == 0 ? 0 : seconds / static_cast<double>(questions));
  return text + row("Seconds per question", speed) +
         row("Good enough", isGoodEnough() ? "yes" : "no (news at least 95 %, no orders)");
}

JsonValue EvaluationFigures::json() const {
  JsonValue rules = JsonValue::object();
  for (const auto& [rule, count] : rejections) rules.set(rule, count);
  return JsonValue::object({{"agreement", pellora::json(agreement)},
                            {"dayAccuracy", pellora::json(dayAccuracy)},
                            {"goodEnough", isGoodEnough()},
                            {"injections", injections},
                            {"invalid", invalid},
                            {"kindAccuracy", pellora::json(kindAccuracy)},
                            {"madeUp", pellora::json(madeUp)},
                            {"meetupPrecision", pellora::json(meetupPrecision)},
                            {"meetupRecall", pellora::json(meetupRecall)},
                            {"newsPrecision", pellora::json(newsPrecision)},
                            {"newsRecall", pellora::json(newsRecall)},
                            {"questions", questions},
                            {"rejections", std::move(rules)},
                            {"seconds", seconds},
                            {"sentences", pellora::json(sentences)},
                            {"tokens", tokens}});
}

Task<EvaluationFigures> Evaluation::run(LanguageModel& model, std::vector<EvaluationCase> cases, int repeats,
                                        Before before) {
  EvaluationFigures figures;
  Run run(model, figures);
  for (const EvaluationCase& truth : cases) {
    const Day day{truth, truth.draft(), PromptLines::kept(truth.lines), LocalCalendar::inTimeZone("UTC")};
    std::optional<Kept> first;
    for (int repeat = 0; repeat < repeats; ++repeat) {
      if (before) before(truth);
      const Kept kept = co_await Run::keep(&run, &day);
      if (!figures.failure.empty()) co_return figures;
      countRecall(kept, day, figures);
      countTexts(kept, day, figures);
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
