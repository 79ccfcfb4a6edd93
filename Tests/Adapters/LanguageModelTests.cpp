#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ModelServerProcess.h"

namespace pellora {

// The contract of language models, for the scripted one of the tests and the one that talks to a server.
namespace {

using support::awaited;
using support::ModelServerProcess;

enum class Kind { scripted, server };

class LanguageModelContract : public testing::TestWithParam<Kind> {
 protected:
  // A model that answers plain questions with "Good day." and guided ones with `guided`, or with errors only.
  LanguageModel& model(bool fails = false, const std::string& guided = R"({"a":1})") {
    switch (GetParam()) {
      case Kind::scripted:
        _model = std::make_unique<ScriptedLanguageModel>([fails, guided](const ScriptedLanguageModel::Asked& asked) {
          if (fails) throw LanguageModelError(LanguageModelError::Reason::server, "answered 500");
          return asked.schemaName.empty() ? "Good day." : guided;
        });
        break;
      case Kind::server:
        QStringList options{QStringLiteral("--answer"), QStringLiteral("Good day."), QStringLiteral("--guided-answer"),
                            QString::fromStdString(guided)};
        if (fails) options += {QStringLiteral("--status"), QStringLiteral("500")};
        _server.emplace(ModelServerProcess::Transport::unixSocket, options);
        _model = std::make_unique<ChatCompletionsLanguageModel>(ModelEndpoint::parse(_server->url()));
        break;
    }
    return *_model;
  }

  const GenerationSchema _schema{"Found", {{"a", "", GeneratedInteger{}}}};

 private:
  std::optional<ModelServerProcess> _server;
  std::unique_ptr<LanguageModel> _model;
};

INSTANTIATE_TEST_SUITE_P(Of, LanguageModelContract, testing::Values(Kind::scripted, Kind::server),
                         [](const auto& info) { return info.param == Kind::scripted ? "Scripted" : "Server"; });

TEST_P(LanguageModelContract, AnswersPlainAndGuidedQuestionsWhenAvailable) {
  LanguageModel& asked = model();
  EXPECT_TRUE(awaited(asked.isAvailable()));
  EXPECT_EQ(awaited(asked.respond("be brief", "hello")).text, "Good day.");
  EXPECT_EQ(awaited(asked.respond("be brief", "hello", _schema)).text, R"({"a":1})");
}

TEST_P(LanguageModelContract, ModelThatFailsIsStillAvailableAndThrows) {
  LanguageModel& asked = model(true);
  EXPECT_TRUE(awaited(asked.isAvailable()));
  EXPECT_THROW(awaited(asked.respond("be brief", "hello")), LanguageModelError);
  EXPECT_THROW(awaited(asked.respond("be brief", "hello", _schema)), LanguageModelError);
  EXPECT_TRUE(awaited(asked.isAvailable()));
}

TEST_P(LanguageModelContract, GuidedAnswerOfAnotherFormIsAnErrorOfTheQuestion) {
  for (const char* answer : {"There is none.", "[]", R"({"b":1})", R"({"a":"much"})"}) {
    LanguageModel& asked = model(false, answer);
    try {
      awaited(asked.respond("be brief", "hello", _schema));
      ADD_FAILURE() << answer;
    } catch (const LanguageModelError& error) {
      EXPECT_EQ(error.reason(), LanguageModelError::Reason::question);
      EXPECT_STREQ(error.what(), "gave an answer that is not in the form asked for");
    }
    EXPECT_EQ(awaited(asked.respond("be brief", "hello")).text, "Good day.") << "plain ones have no form";
  }
  LanguageModel& fenced = model(false, "```json\n{\"a\":\"1\",\"more\":[]}\n```");
  EXPECT_NO_THROW(awaited(fenced.respond("be brief", "hello", _schema))) << "as far as it is good";
}

TEST_P(LanguageModelContract, QuestionsMayBeAskedBeforeAvailabilityIs) {
  EXPECT_EQ(awaited(model().respond("be brief", "hello")).text, "Good day.");
}

// The four questions over a real server whose made-up answers are of the kind that a small model gives: what comes
// out of the guards is what a user would see.

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
