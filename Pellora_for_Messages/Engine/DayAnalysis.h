// The language model at work on the days of one read. Main thread. Tested by Tests/App/ModelOutageTests.cpp.
#pragma once

#include <QPointer>
#include <array>
#include <chrono>
#include <optional>
#include <string>

#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Ports/Scheduler.h"
#include "PelloraMessagesCore/Ports/Task.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "Pellora_for_Messages/Engine/DayPlan.h"

namespace pellora {

// The language model as one read uses it. Passes questions on and keeps the account: what was asked, what it cost, and
// which questions got no answer, which the tasks themselves do not tell. After one time-out or a second error in a row
// the model's turn is over: later questions are refused without being asked. So they are once the owner of the read is
// gone.
class ModelTurn : public LanguageModel {
 public:
  using Reason = LanguageModelError::Reason;

  struct Failure {
    Reason reason = Reason::server;
    std::string text;
  };

  // Model and clock outlive this object.
  ModelTurn(LanguageModel& model, const Scheduler& clock, const QObject* owner);

  // Whether questions are passed on; does not ask the model's server.
  Task<bool> isAvailable() override;

  Task<Answer> respond(std::string instructions, std::string prompt) override;
  Task<Answer> respond(std::string instructions, std::string prompt, const GenerationSchema& schema) override;
  std::int64_t questionsSent() const override { return _use.questions; }

  bool isOver() const { return _isOver || _owner.isNull(); }

  // Why a question since the last call got no answer, the last one if several did not; absent when all did.
  std::optional<Failure> takeFailure();

  // Of this turn; days are counted by the caller.
  ModelUse& use() { return _use; }
  // Of the last question without an answer in this turn.
  const std::optional<Failure>& lastFailure() const { return _lastFailure; }

 private:
  static constexpr int kMostErrorsInARow = 2;

  Task<Answer> counted(Task<Answer> question, std::int64_t sentBefore);
  void requireTurn();
  void fail(Failure failure);

  LanguageModel& _model;
  const Scheduler& _clock;
  QPointer<const QObject> _owner;
  ModelUse _use;
  std::optional<Failure> _untaken;
  std::optional<Failure> _lastFailure;
  int _errorsInARow = 0;
  bool _isOver = false;
};

// Asks the language model what it has not answered about a day yet, and keeps the rules of asking again: a question
// without an answer is asked again up to three times for the same content, a quarter of an hour, an hour and a day
// later; then the day counts as analyzed. A failure that says nothing about the question uses up none of these tries.
namespace AskingAgain {

inline constexpr std::array<std::chrono::seconds, 3> kDelays = {std::chrono::minutes(15), std::chrono::hours(1),
                                                                std::chrono::hours(24)};

// Notes on a WaitingDay or LatelyAnswer that a question got no answer at `now`, and when it is asked again. False when
// it is not asked again for this content.
template <class Asked>
bool noteFailure(Asked& asked, LanguageModelError::Reason reason, Instant now) {
  if (reason != LanguageModelError::Reason::question) {
    asked.nextTryAt = now + kDelays.front();
    return true;
  }
  const auto used = static_cast<std::size_t>(++asked.triesUsed);
  if (used > kDelays.size()) return false;
  asked.nextTryAt = now + kDelays[used - 1];
  return true;
}

}  // namespace AskingAgain

namespace DayAnalysis {

// Fills the answers into `day.waiting`, which with the turn must outlive the call. True when the day is analyzed:
// then `day.waiting.record` is its record. False when it waits, or when the turn was over before its first question.
Task<bool> analyze(ModelTurn& turn, OpenDay& day, std::string firstName, LocalCalendar calendar, Instant now);

}  // namespace DayAnalysis

}  // namespace pellora
