#include "Companion/Commands/ModelWork.h"

#include <chrono>

#include "Companion/Evaluation/EvaluationModels.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::model_work {

namespace {

constexpr std::int64_t kMinute = 60;  // seconds
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

std::string counted(std::int64_t count, const char* one, const char* many) {
  return display::counted(static_cast<std::size_t>(count), one, many);
}

// A duration for display, such as "15 minutes" or "2 hours". Rounds to a larger unit when the duration equals that unit
// or is 1.5 times as long or longer.
std::string duration(std::int64_t seconds) {
  struct Unit {
    std::int64_t seconds;
    const char* one;
    const char* many;
  };
  for (const Unit& unit : {Unit{kDay, "day", "days"}, Unit{kHour, "hour", "hours"}, Unit{kMinute, "minute", "minutes"}})
    if (seconds * 2 >= unit.seconds * 3 || seconds == unit.seconds)
      return counted((seconds + unit.seconds / 2) / unit.seconds, unit.one, unit.many);
  return counted(seconds, "second", "seconds");
}

JsonValue json(const ModelUse& use) {
  return JsonValue::object({{"answerTokens", use.answerTokens},
                            {"days", use.days},
                            {"promptTokens", use.promptTokens},
                            {"questions", use.questions},
                            {"seconds", static_cast<double>(use.milliseconds) / 1000}});
}

}  // namespace

std::optional<ModelAccount> load(const CompanionContext& context) {
  try {
    const auto state = HelperState::load(context.key(), context.folder);
    if (state) return state->model;
  } catch (const std::exception&) {
    // Without a key there is nothing to open.
  }
  return std::nullopt;
}

std::string cost(const ModelUse& use) {
  if (use.questions == 0) return {};
  const std::int64_t tokens = use.promptTokens + use.answerTokens;
  const std::string counts = counted(use.questions, "question", "questions") + ", ";
  return counts + (tokens > 0 ? counted(tokens, "token", "tokens") + ", " : "") + duration(use.milliseconds / 1000);
}

std::string estimate(const ModelAccount& account) {
  const ModelUse& basis = account.lastRead.days > 0 ? account.lastRead : account.total;
  if (account.waitingDays == 0 || basis.days == 0 || basis.milliseconds == 0) return {};
  const std::int64_t seconds = basis.milliseconds / basis.days * account.waitingDays / 1000;
  return "about " + duration(seconds) + " for " + counted(account.waitingDays, "day", "days") +
         " with this model; newest days first";
}

std::string waiting(const ModelAccount& account, Instant now) {
  std::string text;
  if (account.lastFailure) text = "The model server " + display::printable(*account.lastFailure) + ".";
  if (account.waitingDays == 0) return text;
  const bool isOne = account.waitingDays == 1;
  text += (text.empty() ? "" : " ") + counted(account.waitingDays, "day", "days") + (isOne ? " waits" : " wait");
  if (!account.nextTryAt || *account.nextTryAt <= now) return text + "; next try with the next read.";
  const auto left = std::chrono::ceil<std::chrono::seconds>(*account.nextTryAt - now).count();
  return text + "; next try in " + duration(left) + ".";
}

JsonValue json(const ModelAccount& account) {
  JsonValue result = JsonValue::object(
      {{"lastRead", json(account.lastRead)}, {"total", json(account.total)}, {"waitingDays", account.waitingDays}});
  if (account.lastFailure) result.set("lastFailure", display::printable(*account.lastFailure));
  if (account.nextTryAt) result.set("nextTryAt", IsoDate::text(*account.nextTryAt));
  return result;
}

}  // namespace pellora::model_work

namespace pellora {

namespace {

constexpr const char* kName = "Robin";
constexpr const char* kRejected = "rejected by the guards";

MessagesDayDraft inventedDay() {
  MessagesDayDraft draft;
  draft.lines = {{true, "Did the tomatoes on the balcony make it through the storm?"},
                 {false, "All of them! The basil is gone though."},
                 {false, "And guess what, I got the job at the bakery, I start in May!"}};
  return draft;
}

ModelTry tryOf(const char* kind, ModelWitness& witness) {
  const ModelWitness::Testimony testimony = witness.take().value_or(ModelWitness::Testimony());
  ModelTry result;
  result.kind = kind;
  result.answer = testimony.answer;
  result.seconds = testimony.seconds;
  if (testimony.error) result.error = testimony.error->what();
  return result;
}

}  // namespace

Task<ModelTry> ModelTry::plain(LanguageModel& model) {
  ModelWitness witness(model);
  const std::optional<std::string> kept = co_await MessagesModel::daySentence(witness, inventedDay(), kName);
  ModelTry result = tryOf("plain", witness);
  if (result.isAnswered()) result.verdict = kept ? "kept: " + *kept : kRejected;
  co_return result;
}

Task<ModelTry> ModelTry::guided(LanguageModel& model) {
  ModelWitness witness(model);
  const std::vector<MessagesNews> kept = co_await MessagesModel::findNews(witness, inventedDay(), kName);
  ModelTry result = tryOf("guided", witness);
  if (!result.isAnswered()) co_return result;
  if (!kept.empty())
    result.verdict = "kept: " + kept.front().sentence;
  else if (MessagesModel::proposedNews(result.answer, kName).empty())
    result.verdict = "no news in it, although there is some";
  else
    result.verdict = kRejected;
  co_return result;
}

}  // namespace pellora
