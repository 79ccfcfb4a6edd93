#include "Companion/Evaluation/EvaluationFigures.h"

#include <cmath>
#include <cstdio>

namespace pellora {

namespace {

constexpr double kConfidence = 1.96;  // standard deviations for 95 %
constexpr std::size_t kColumn = 42;

std::string percent(const Share& share) {
  if (share.all == 0) return " none";
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
  std::string text =
      row("News, precision", percent(newsPrecision) + (newsPrecision.all > 0 ? bound : "")) +
      row("News, recall", percent(newsRecall)) + row("News, right kind", percent(kindAccuracy)) +
      row("Meetups, precision", percent(meetupPrecision)) + row("Meetups, recall", percent(meetupRecall)) +
      row("Meetups, right day", percent(dayAccuracy)) + row("Sentences accepted", percent(sentences)) +
      row("Sentences, right who did what", percent(attributions)) + row("Made-up names or numbers", percent(madeUp)) +
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
                            {"attributions", pellora::json(attributions)},
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

}  // namespace pellora
