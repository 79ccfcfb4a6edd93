// What every language model keeps to, the scripted one of the tests as well as the one that talks to a server.
#include <gtest/gtest.h>

#include <functional>

#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "Tests/Support/Awaiting.h"
#include "Tests/Support/ModelServerProcess.h"

namespace pellora {

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
      EXPECT_STREQ(error.what(), "gave an answer of another form than asked for");
    }
    EXPECT_EQ(awaited(asked.respond("be brief", "hello")).text, "Good day.") << "plain ones have no form";
  }
  LanguageModel& fenced = model(false, "```json\n{\"a\":\"1\",\"more\":[]}\n```");
  EXPECT_NO_THROW(awaited(fenced.respond("be brief", "hello", _schema))) << "as far as it is good";
}

TEST_P(LanguageModelContract, QuestionsMayBeAskedBeforeAvailabilityIs) {
  EXPECT_EQ(awaited(model().respond("be brief", "hello")).text, "Good day.");
}

}  // namespace

}  // namespace pellora
