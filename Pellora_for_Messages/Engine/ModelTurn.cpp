#include "Pellora_for_Messages/Engine/ModelTurn.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace pellora {

ModelTurn::ModelTurn(LanguageModel& model, const Scheduler& clock, const QObject* owner)
    : _model(model), _clock(clock), _owner(owner) {}

Task<bool> ModelTurn::isAvailable() {
  if (isOver()) _untaken = _lastFailure.value_or(Failure());
  co_return !isOver();
}

Task<LanguageModel::Answer> ModelTurn::respond(std::string instructions, std::string prompt) {
  requireTurn();
  Answer answer = co_await counted(_model.respond(std::move(instructions), std::move(prompt)));
  co_return answer;
}

Task<LanguageModel::Answer> ModelTurn::respond(std::string instructions, std::string prompt,
                                               const GenerationSchema& schema) {
  requireTurn();
  Answer answer = co_await counted(_model.respond(std::move(instructions), std::move(prompt), schema));
  co_return answer;
}

std::optional<ModelTurn::Failure> ModelTurn::takeFailure() {
  return std::exchange(_untaken, std::nullopt);
}

Task<LanguageModel::Answer> ModelTurn::counted(Task<Answer> question) {
  const Instant begin = _clock.now();
  ++_use.questions;
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
