// `pellora-companion model` against a real server process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Companion/Commands/ModelCommand.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using nlohmann::json;
using support::ModelServerProcess;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class ModelCommands : public testing::Test {
 protected:
  void serve(const char* options = "") {
    const QStringList words = QString::fromUtf8(options).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    _server.emplace(ModelServerProcess::Transport::unixSocket, words);
    _environment.set("PELLORA_MODEL_URL", _server->url());
    _environment.unset("PELLORA_MODEL");
  }

  // Whether it was not done.
  bool run(const ModelCommand& command = {}) {
    const CommandResult result = command.run(_world.context());
    _out = result.output;
    _err = result.complaint;
    return !_err.empty();
  }

  support::CompanionWorld _world;
  support::ScopedEnvironment _environment;
  std::optional<ModelServerProcess> _server;
  std::string _out;
  std::string _err;
};

TEST_F(ModelCommands, TellsModelPlaceAndContext) {
  serve("--context 8192");
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, HasSubstr("Available  yes\n"));
  EXPECT_THAT(_out, HasSubstr("Model      test-model\n"));
  EXPECT_THAT(_out, HasSubstr("Where      " + _server->url() + "\n"));
  EXPECT_THAT(_out, HasSubstr("Context    8192 tokens\n"));
  EXPECT_EQ(_err, "");
  EXPECT_EQ(_server->count("/v1/chat/completions"), 0U) << "nothing is asked without a try";
}

TEST_F(ModelCommands, SaysWhenTheContextIsSmallOrUnknown) {
  serve("--context 2048");
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, HasSubstr("2048 tokens (small"));
  serve();
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, HasSubstr("Context    unknown"));
}

TEST_F(ModelCommands, TryAsksOnePlainAndOneGuidedQuestion) {
  serve();
  EXPECT_FALSE(run({.tries = true}));
  EXPECT_THAT(_out, HasSubstr("Plain question, "));
  EXPECT_THAT(_out, HasSubstr("Guided question, "));
  EXPECT_THAT(_out, HasSubstr(R"({"message":1,"plant":"example"})"));
  EXPECT_EQ(_server->count("/v1/chat/completions"), 2U);
}

TEST_F(ModelCommands, TryFailsWhenOneOfTheAnswersIsUnusable) {
  serve("--guided-answer {\"plant\":7}");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_EQ(_err, "The guided question failed: the model server gave an answer that does not follow its schema.");
  EXPECT_THAT(_out, HasSubstr("{\"plant\":7}"));
  serve("--status 500");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_EQ(_err, "The plain question failed: the model server answered 500 (told to fail).");
}

TEST_F(ModelCommands, JsonIsOneObject) {
  serve("--context 8192");
  EXPECT_FALSE(run({.tries = true, .json = true}));
  EXPECT_THAT(_out, EndsWith("}\n"));
  const json object = json::parse(_out);
  EXPECT_EQ(object["available"], true);
  EXPECT_EQ(object["model"], "test-model");
  EXPECT_EQ(object["contextTokens"], 8192);
  EXPECT_EQ(object["tries"].size(), 2U);
  EXPECT_EQ(object["tries"][1]["answered"], true);
  EXPECT_FALSE(object.contains("reason"));
}

TEST_F(ModelCommands, EachReasonForNoModelIsOneSentence) {
  serve("--loading-requests 100");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_EQ(_err, "The model server is still loading its model.");
  EXPECT_THAT(_out, HasSubstr("Available  no\n"));
  serve("--model big-cloud");
  EXPECT_TRUE(run());
  EXPECT_EQ(_err, "The model server runs the model big-cloud on another machine, so it is not used.");
  serve();
  _environment.set("PELLORA_MODEL", "other");
  EXPECT_TRUE(run());
  EXPECT_EQ(_err, "The model server does not list the model other.");
  _environment.set("PELLORA_MODEL_URL", "http://example.com");
  EXPECT_TRUE(run());
  EXPECT_THAT(_err, HasSubstr("not on this device"));
  const support::TemporaryFolder folder;
  _environment.unset("PELLORA_MODEL_URL");
  _environment.set("XDG_RUNTIME_DIR", folder.path().string());
  EXPECT_TRUE(run({.json = true}));
  const std::string path = (folder / "app.pellora.messages/model.sock").string();
  EXPECT_EQ(_err, "The model server is not running: there is no socket at " + path + ".");
  EXPECT_EQ(json::parse(_out)["reason"], "The model server is not running: there is no socket at " + path + ".");
  EXPECT_EQ(json::parse(_out)["available"], false);
}

TEST_F(ModelCommands, ControlCharactersOfAnAnswerDoNotReachTheTerminal) {
  serve(
      "--answer \x1b[2Jgone\xC2\x9B"
      "0m");
  EXPECT_FALSE(run({.tries = true}));
  EXPECT_THAT(_out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(_out, Not(HasSubstr("\xC2\x9B")));
  EXPECT_THAT(_out, HasSubstr("[2Jgone"));
}

}  // namespace

}  // namespace pellora
