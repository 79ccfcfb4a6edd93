#include "Companion/Commands/ModelTry.h"

#include <chrono>

#include "PelloraMessagesCore/Language/FoundNews.h"
#include "PelloraMessagesCore/Language/ModelInstructions.h"
#include "PelloraMessagesCore/Language/PromptLines.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/SummaryGuard.h"

namespace pellora {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kName = "Robin";

std::vector<MessageLine> inventedDay() {
  return {{true, "Did the tomatoes on the balcony make it through the storm?"},
          {false, "All of them! The basil is gone though."},
          {false, "And guess what, I got the job at the bakery, I start in May!"}};
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string newsVerdict(const std::string& answer) {
  const FoundNews found = FoundNews::fromAnswer(answer);
  if (found.news.empty()) return "no news in it, although there is some";
  std::vector<NewsGuard::Candidate> candidates;
  for (const NewsItem& item : found.news)
    candidates.push_back({item.message, withTypographicApostrophes(item.what, kName), item.kind, item.when});
  const auto kept = NewsGuard::accept(candidates, PromptLines::kept(inventedDay()), kName, Instant());
  if (kept.empty()) return "rejected by the guards";
  return "kept: " + kept.front().sentence;
}

}  // namespace

Task<ModelTry> ModelTry::plain(LanguageModel& model) {
  ModelTry result;
  result.kind = "plain";
  const Clock::time_point start = Clock::now();
  try {
    std::string instructions = ModelInstructions::daySentence(kName);
    std::string prompt =
        PromptLines::spokenBlock(inventedDay(), kName) + std::string(ModelInstructions::kDaySentenceEnding);
    const LanguageModel::Answer answer = co_await model.respond(std::move(instructions), std::move(prompt));
    result.answer = answer.text;
    const auto kept = SummaryGuard::checkSentence(withTypographicApostrophes(answer.text, kName), kName);
    result.verdict = kept ? "kept: " + *kept : "rejected by the guards";
  } catch (const LanguageModelError& error) {
    result.error = error.what();
  }
  result.seconds = secondsSince(start);
  co_return result;
}

Task<ModelTry> ModelTry::guided(LanguageModel& model) {
  ModelTry result;
  result.kind = "guided";
  const Clock::time_point start = Clock::now();
  try {
    std::string instructions = ModelInstructions::news(kName);
    std::string prompt =
        PromptLines::numberedBlock(PromptLines::kept(inventedDay()), kName) + ModelInstructions::newsEnding(kName);
    const LanguageModel::Answer answer =
        co_await model.respond(std::move(instructions), std::move(prompt), FoundNews::schema());
    result.answer = answer.text;
    if (GeneratedContent::decode(FoundNews::schema(), answer.text))
      result.verdict = newsVerdict(answer.text);
    else
      result.error = "gave an answer that does not follow its schema";
  } catch (const LanguageModelError& error) {
    result.error = error.what();
  }
  result.seconds = secondsSince(start);
  co_return result;
}

}  // namespace pellora
