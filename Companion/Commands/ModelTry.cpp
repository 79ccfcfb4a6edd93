#include "Companion/Commands/ModelTry.h"

#include "Companion/Evaluation/ModelWitness.h"
#include "PelloraMessagesCore/MessagesModel.h"

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
