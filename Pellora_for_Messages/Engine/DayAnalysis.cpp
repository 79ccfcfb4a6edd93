#include "Pellora_for_Messages/Engine/DayAnalysis.h"

#include <utility>

#include "PelloraMessagesCore/MessagesModel.h"

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

Task<bool> analyse(ModelTurn& turn, OpenDay& day, std::string firstName, LocalCalendar calendar, Instant now) {
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
