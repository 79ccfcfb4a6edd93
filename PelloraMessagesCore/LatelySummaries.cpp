#include "PelloraMessagesCore/LatelySummaries.h"

#include "PelloraMessagesCore/SummaryGuard.h"

namespace pellora {

Task<std::optional<std::string>> LatelySummaries::summary(LanguageModel& model, Uuid person,
                                                          std::vector<MessagesDayRecord> days, std::string firstName) {
  const std::optional<MessagesModel::Question> question = MessagesModel::latelyQuestion(days, firstName);
  if (!question) co_return std::nullopt;
  const auto known = _answered.find(person);
  if (known != _answered.end() && known->second.question == *question) {
    // A copy by name: what stands in `co_return` is moved from, wherever it belongs.
    std::optional<std::string> again = known->second.summary;
    co_return again;
  }
  const std::optional<std::string> answer = co_await MessagesModel::answer(model, *question);
  if (!answer) co_return std::nullopt;
  std::optional<std::string> summary = SummaryGuard::checkLately(*answer, firstName);
  _answered[person] = {*question, summary};
  co_return summary;
}

}  // namespace pellora
