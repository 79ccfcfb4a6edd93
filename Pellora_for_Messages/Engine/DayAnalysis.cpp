#include "Pellora_for_Messages/Engine/DayAnalysis.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "PelloraMessagesCore/MessagesModel.h"

namespace pellora {

ModelTurn::ModelTurn(LanguageModel& model, const Scheduler& clock, const QObject* owner)
    : _model(model), _clock(clock), _owner(owner) {}

Task<bool> ModelTurn::isAvailable() {
  if (isOver()) _untaken = _lastFailure.value_or(Failure());
  co_return !isOver();
}

Task<LanguageModel::Answer> ModelTurn::respond(std::string instructions, std::string prompt) {
  requireTurn();
  const std::int64_t sentBefore = _model.questionsSent();
  Answer answer = co_await counted(_model.respond(std::move(instructions), std::move(prompt)), sentBefore);
  co_return answer;
}

Task<LanguageModel::Answer> ModelTurn::respond(std::string instructions, std::string prompt,
                                               const GenerationSchema& schema) {
  requireTurn();
  const std::int64_t sentBefore = _model.questionsSent();
  Answer answer = co_await counted(_model.respond(std::move(instructions), std::move(prompt), schema), sentBefore);
  co_return answer;
}

std::optional<ModelTurn::Failure> ModelTurn::takeFailure() {
  return std::exchange(_untaken, std::nullopt);
}

Task<LanguageModel::Answer> ModelTurn::counted(Task<Answer> question, std::int64_t sentBefore) {
  const Instant begin = _clock.now();
  Answer answer;
  std::optional<Failure> failure;
  try {
    answer = co_await question;
  } catch (const LanguageModelError& error) {
    failure = Failure{error.reason(), error.what()};
  } catch (...) {
    failure = Failure{Reason::server, "failed"};
  }
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(_clock.now() - begin);
  _use.milliseconds += std::max(static_cast<std::int64_t>(passed.count()), std::int64_t{0});
  _use.questions += _model.questionsSent() - sentBefore;
  _use.promptTokens += answer.promptTokens;
  _use.answerTokens += answer.answerTokens;
  if (failure) {
    fail(*failure);
    throw LanguageModelError(failure->reason, failure->text);
  }
  _errorsInARow = 0;
  co_return answer;
}

void ModelTurn::requireTurn() {
  if (!isOver()) return;
  _untaken = _lastFailure.value_or(Failure());
  throw LanguageModelError(Reason::server, "is not asked any more in this read");
}

void ModelTurn::fail(Failure failure) {
  ++_errorsInARow;
  if (failure.reason == Reason::timeOut || _errorsInARow >= kMostErrorsInARow) _isOver = true;
  _untaken = failure;
  _lastFailure = std::move(failure);
}

}  // namespace pellora

namespace pellora::DayAnalysis {

namespace {

// Collects what the questions of one day came to.
struct Failures {
  // True when the question got an answer.
  bool note(std::optional<ModelTurn::Failure> failure) {
    if (!failure) return true;
    // One question that is at fault itself is enough to use up a try.
    if (!worst || failure->reason == ModelTurn::Reason::question) worst = std::move(failure);
    return false;
  }

  std::optional<ModelTurn::Failure> worst;
};

}  // namespace

Task<bool> analyze(ModelTurn& turn, OpenDay& day, std::string firstName, LocalCalendar calendar, Instant now) {
  WaitingDay& waiting = day.waiting;
  MessagesDayRecord& record = waiting.record;
  Failures failures;
  turn.takeFailure();
  if (!waiting.isSentenceAnswered && !turn.isOver()) {
    std::optional<std::string> sentence = co_await MessagesModel::daySentence(turn, day.draft, firstName);
    waiting.isSentenceAnswered = failures.note(turn.takeFailure());
    if (waiting.isSentenceAnswered) record.summary = std::move(sentence);
  }
  if (!waiting.isNewsAnswered && !turn.isOver()) {
    std::vector<MessagesNews> news = co_await MessagesModel::findNews(turn, day.draft, firstName);
    waiting.isNewsAnswered = failures.note(turn.takeFailure());
    if (waiting.isNewsAnswered) record.news = std::move(news);
  }
  if (!waiting.areMeetupsAnswered && !turn.isOver()) {
    std::vector<MessagesMeetup> meetups = co_await MessagesModel::findMeetups(turn, day.draft, firstName, calendar);
    waiting.areMeetupsAnswered = failures.note(turn.takeFailure());
    if (waiting.areMeetupsAnswered) record.meetups = std::move(meetups);
  }
  if (waiting.isSentenceAnswered && waiting.isNewsAnswered && waiting.areMeetupsAnswered) co_return true;
  if (!failures.worst || AskingAgain::noteFailure(waiting, failures.worst->reason, now)) co_return false;
  if (!record.meetups) record.meetups.emplace();
  co_return true;
}

}  // namespace pellora::DayAnalysis
