// `pellora-companion model` against a real server process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Companion/Commands/Commands.h"
#include "Companion/Output/CompanionFailure.h"
#include "PelloraMessagesCore/HelperState.h"
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
    _environment.set("XDG_CONFIG_HOME", _config.path().string());
  }

  // Whether it was not done.
  bool run(const ModelCommand& command = {}) {
    const CommandResult result = command.run(_world.context());
    _out = result.output;
    _err = result.complaint;
    return !_err.empty();
  }

  support::CompanionWorld _world;
  support::TemporaryFolder _config;
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
  EXPECT_THAT(_out, HasSubstr("kept: Robin got the job at the bakery"));
  EXPECT_THAT(_out, HasSubstr("kept: You and Robin talked about"));
  EXPECT_EQ(_server->count("/v1/chat/completions"), 2U);
}

TEST_F(ModelCommands, TryFailsWhenOneOfTheAnswersIsUnusable) {
  serve("--guided-answer {\"plant\":7}");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_EQ(_err, "The guided question failed: the model server gave an answer that is not in the form asked for.");
  serve("--status 500");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_EQ(_err, "The plain question failed: the model server answered 500 (told to fail).");
  serve("--status 500 --status-questions 1 --guided-answer {\"plant\":7}");
  EXPECT_TRUE(run({.tries = true}));
  EXPECT_THAT(_out, HasSubstr("no answer: the model server answered 500 (told to fail)\n"));
  EXPECT_THAT(_out, HasSubstr("no answer: the model server gave an answer that is not in the form asked for\n"));
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

TEST_F(ModelCommands, TrySaysWhatTheGuardsReject) {
  serve("--answer Nothing --guided-answer {\"news\":[{\"message\":1,\"what\":\"x\",\"kind\":\"work\",\"when\":\"\"}]}");
  EXPECT_FALSE(run({.tries = true}));
  EXPECT_EQ(std::string::npos == _out.find("kept: "), true) << _out;
  EXPECT_THAT(_out, HasSubstr("rejected by the guards"));
}

TEST_F(ModelCommands, NamesThatSteerATerminalAreMadeHarmless) {
  serve("--model a\xE2\x80\xAE\xC2\x85z");
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, Not(HasSubstr("\xE2\x80\xAE")));
  EXPECT_THAT(_out, Not(HasSubstr("\xC2\x85")));
  EXPECT_FALSE(run({.json = true}));
  EXPECT_THAT(_out, Not(HasSubstr("\xE2\x80\xAE")));
  EXPECT_THAT(_out, Not(HasSubstr("\xC2\x85")));
}

TEST_F(ModelCommands, UseKeepsTheServerAndTheModelThatWasChosen) {
  serve("--model old --model other");
  ModelUseCommand use;
  use.url = _server->url();
  const CommandResult kept = use.run(_world.context());
  EXPECT_THAT(kept.output,
              HasSubstr("will ask old at " + _server->url() + " from its next start on. PELLORA_MODEL_URL"));
  _environment.unset("PELLORA_MODEL_URL");
  _server->restart(
      {QStringLiteral("--model"), QStringLiteral("new"), QStringLiteral("--model"), QStringLiteral("old")});
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, HasSubstr("Model      old\n"));
  EXPECT_THAT(ModelForgetCommand{.json = true}.run(_world.context()).output, HasSubstr("true"));
  EXPECT_THAT(ModelForgetCommand{.json = true}.run(_world.context()).output, HasSubstr("false"));
}

TEST_F(ModelCommands, UseRefusesWhatIsNotOnThisDevice) {
  serve();
  ModelUseCommand use;
  use.url = "http://example.com";
  EXPECT_THROW(use.run(_world.context()), CompanionFailure);
  use.url = _server->url();
  use.keyFile = "/nowhere";
  EXPECT_THROW(use.run(_world.context()), CompanionFailure);
  EXPECT_FALSE(ModelForgetCommand{}.run(_world.context()).output.empty());
}

TEST_F(ModelCommands, WorkOfTheHelperIsTold) {
  serve();
  HelperState state;
  state.model.waitingDays = 84;
  state.model.lastFailure = "answered 500 (model requires more system memory)";
  state.model.nextTryAt = _world.context().now + std::chrono::minutes(15);
  state.model.lastRead = {12, 3000, 400, 120000, 10};
  state.save(_world.key(), _world.shared());
  EXPECT_FALSE(run());
  EXPECT_THAT(_out, HasSubstr("Last read  12 questions, 3400 tokens, 2 minutes\n"));
  EXPECT_THAT(_out, HasSubstr("Waiting    The model server answered 500 (model requires more system memory). "
                              "84 days wait; next try in 15 minutes.\n"));
  EXPECT_THAT(_out, HasSubstr("Will take  about 17 minutes for 84 days with this model; newest days first\n"));
  EXPECT_FALSE(run({.json = true}));
  EXPECT_EQ(json::parse(_out)["work"]["waitingDays"], 84);
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
