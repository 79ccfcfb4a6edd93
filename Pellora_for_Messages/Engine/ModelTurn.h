// The language model as one read uses it. Passes questions on and keeps the account: what was asked, what it cost, and
// which questions got no answer, which the tasks themselves do not tell. After one time-out or a second error in a row
// the model's turn is over: later questions are refused without being asked. So they are once the owner of the read is
// gone. Main thread. Tested by Tests/App/ModelOutageTests.cpp.
#pragma once

#include <QPointer>
#include <optional>
#include <string>

#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

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

  bool isOver() const { return _isOver || _owner.isNull(); }

  // Why a question since the last call got no answer, the last one if several did not; absent when all did.
  std::optional<Failure> takeFailure();

  // Of this turn; days are counted by the caller.
  ModelUse& use() { return _use; }
  // Of the last question without an answer in this turn.
  const std::optional<Failure>& lastFailure() const { return _lastFailure; }

 private:
  static constexpr int kMostErrorsInARow = 2;

  Task<Answer> counted(Task<Answer> question);
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

}  // namespace pellora
