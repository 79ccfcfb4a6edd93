// The four questions over a real server whose made-up answers are of the kind that a small model gives: what comes
// out of the guards is what a user would see.
#include <gtest/gtest.h>

#include <chrono>

#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "Tests/Support/Awaiting.h"
#include "Tests/Support/ModelServerProcess.h"

namespace pellora {

namespace {

using support::awaited;
using support::ModelServerProcess;

MessagesDayDraft dayOf(std::vector<MessageLine> lines) {
  MessagesDayDraft draft;
  draft.record.day = "2026-03-12";
  draft.record.lastMessageAt =
      Instant(std::chrono::sys_days(std::chrono::year(2026) / 3 / 12) + std::chrono::hours(18));
  draft.lines = std::move(lines);
  return draft;
}

class ModelTasks : public testing::TestWithParam<const char*> {
 protected:
  ModelServerProcess _server{ModelServerProcess::Transport::unixSocket,
                             QString::fromUtf8(GetParam()).split(QLatin1Char(' '), Qt::SkipEmptyParts)};
  ChatCompletionsLanguageModel _model{ModelEndpoint::parse(_server.url())};
};

INSTANTIATE_TEST_SUITE_P(With, ModelTasks,
                         testing::Values("", "--ollama", "--thinking tags", "--reject-field reasoning_effort"),
                         [](const auto& info) { return "Server" + std::to_string(info.index); });

TEST_P(ModelTasks, DayGetsItsSentence) {
  const auto draft = dayOf({{false, "Dinner on Friday?"}, {true, "Yes, after work."}});
  EXPECT_EQ(awaited(MessagesModel::daySentence(_model, draft, "Sam")), "You and Sam talked about dinner and work.");
}

TEST_P(ModelTasks, MeetupIsFoundAtItsLine) {
  const auto draft = dayOf({{false, "Good morning"}, {true, "So good to see you at dinner last night!"}});
  const auto meetups = awaited(MessagesModel::findMeetups(_model, draft, "Sam", LocalCalendar::inTimeZone("UTC")));
  ASSERT_EQ(meetups.size(), 1U);
  EXPECT_EQ(meetups[0].what, "dinner");
  EXPECT_EQ(meetups[0].cue, "good to see you");
  EXPECT_TRUE(meetups[0].isDayFromWords);
  EXPECT_EQ(meetups[0].day, Instant(std::chrono::sys_days(std::chrono::year(2026) / 3 / 11)));
}

TEST_P(ModelTasks, NewsIsToldAboutItsWriter) {
  const auto draft = dayOf({{true, "I got the job too!"}, {false, "Guess what, I got the job at the bakery!"}});
  const auto news = awaited(MessagesModel::findNews(_model, draft, "Sam"));
  ASSERT_EQ(news.size(), 1U);
  EXPECT_EQ(news[0].sentence, "Sam got the job at the bakery.");
  EXPECT_EQ(news[0].kind, MessagesNews::Kind::work);
}

TEST_P(ModelTasks, LatelySummaryRollsTheDaysUp) {
  MessagesDayRecord first = dayOf({}).record;
  first.summary = "You and Sam talked about dinner.";
  MessagesDayRecord second = first;
  second.day = "2026-03-13";
  const auto summary = awaited(MessagesModel::latelySummary(_model, {first, second}, "Sam"));
  EXPECT_EQ(summary, "Lately you and Sam have been in touch often. You talked most about dinner.");
}

TEST(ModelTasksWithoutModel, GiveTheirEmptyResults) {
  ModelServerProcess server(ModelServerProcess::Transport::port,
                            {QStringLiteral("--loading-requests"), QStringLiteral("99")});
  ChatCompletionsLanguageModel model(ModelEndpoint::parse(server.url()));
  const auto draft = dayOf({{false, "So good to see you, I got the job!"}});
  EXPECT_EQ(awaited(MessagesModel::daySentence(model, draft, "Sam")), std::nullopt);
  EXPECT_TRUE(awaited(MessagesModel::findNews(model, draft, "Sam")).empty());
  EXPECT_TRUE(awaited(MessagesModel::findMeetups(model, draft, "Sam", LocalCalendar::inTimeZone("UTC"))).empty());
  EXPECT_EQ(server.count("/v1/chat/completions"), 0U);
}

}  // namespace

}  // namespace pellora
