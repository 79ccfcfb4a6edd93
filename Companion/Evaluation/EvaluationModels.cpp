#include "Companion/Evaluation/EvaluationModels.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "PelloraMessagesCore/Language/FoundItems.h"

namespace pellora {

Task<LanguageModel::Answer> KnowingModel::respond(std::string, std::string, const GenerationSchema& schema) {
  JsonValue items = JsonValue::array();
  const bool isNews = schema.name == FoundNews::schema().name;
  if (_manner == Manner::truth)
    isNews ? addTrueNews(items) : addTrueMeetups(items);
  else if (_manner == Manner::random)
    items.append(randomItem(isNews));
  co_return Answer{JsonValue::object({{isNews ? "news" : "meetups", std::move(items)}}).dump()};
}

std::string KnowingModel::sentence() {
  if (_manner == Manner::truth) return _case->sentence;
  if (_manner == Manner::empty) return {};
  return "You and " + _case->name + " " + randomWords() + ".";
}

void KnowingModel::addTrueNews(JsonValue& items) const {
  for (const EvaluationCase::TrueNews& news : _case->news)
    items.append(JsonValue::object({{"message", news.line},
                                    {"what", news.sentence},
                                    {"kind", std::string(kNewsKindNames[static_cast<std::size_t>(news.kind)])},
                                    {"when", news.when}}));
}

void KnowingModel::addTrueMeetups(JsonValue& items) const {
  for (const EvaluationCase::TrueMeetup& meetup : _case->meetups)
    items.append(JsonValue::object({{"message", meetup.line}, {"what", meetup.what}, {"when", meetup.when}}));
}

JsonValue KnowingModel::randomItem(bool isNews) {
  const auto line = static_cast<std::int64_t>(next(_case->lines.size()) + 1);
  if (!isNews) return JsonValue::object({{"message", line}, {"what", randomWords()}, {"when", randomWords()}});
  return JsonValue::object({{"message", line},
                            {"what", _case->name + " " + randomWords()},
                            {"kind", std::string(kNewsKindNames[next(kNewsKindNames.size())])},
                            {"when", ""}});
}

// Some words in a row of a random line.
std::string KnowingModel::randomWords() {
  const std::string& line = _case->lines[next(_case->lines.size())].text;
  const std::size_t begin = next(line.size());
  const std::size_t space = line.find(' ', begin);
  return line.substr(space == std::string::npos ? 0 : space + 1);
}

// A linear congruential generator: the same numbers everywhere.
std::size_t KnowingModel::next(std::size_t below) {
  _seed = _seed * 6364136223846793005U + 1442695040888963407U;
  return static_cast<std::size_t>((_seed >> 33) % std::max<std::size_t>(below, 1));
}

Task<LanguageModel::Answer> ModelWitness::respond(std::string instructions, std::string prompt) {
  return watched(_model.respond(std::move(instructions), std::move(prompt)));
}

Task<LanguageModel::Answer> ModelWitness::respond(std::string instructions, std::string prompt,
                                                  const GenerationSchema& schema) {
  return watched(_model.respond(std::move(instructions), std::move(prompt), schema));
}

std::optional<ModelWitness::Testimony> ModelWitness::take() {
  return std::exchange(_last, std::nullopt);
}

Task<LanguageModel::Answer> ModelWitness::watched(Task<Answer> question) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  Testimony testimony;
  Answer answer;
  try {
    answer = co_await question;
    testimony.answer = answer.text;
    testimony.tokens = answer.promptTokens + answer.answerTokens;
  } catch (const LanguageModelError& error) {
    testimony.error = error;
  }
  testimony.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  _last = testimony;
  if (testimony.error) throw LanguageModelError(*testimony.error);
  co_return answer;
}

}  // namespace pellora
