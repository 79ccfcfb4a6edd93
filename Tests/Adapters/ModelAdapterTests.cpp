// The adapter against a real server process, over a Unix socket and over a loopback port.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <thread>

#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "Adapters/Linux/Model/HttpWorker.h"
#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using nlohmann::json;
using support::awaited;
using support::ModelServerProcess;
using Transport = ModelServerProcess::Transport;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* kChat = "/v1/chat/completions";
constexpr const char* kList = "/v1/models";

GenerationSchema numberSchema() {
  return {"Found", {{"message", "a number", GeneratedInteger{}}, {"what", "", GeneratedText{}}}};
}

std::unique_ptr<ChatCompletionsLanguageModel> modelAt(const std::string& url, const std::string& name = {}) {
  return std::make_unique<ChatCompletionsLanguageModel>(ModelEndpoint::parse(url), name);
}

// The reason that a question failed for; empty when it was answered.
template <class Answer>
std::string failureOf(Task<Answer> task) {
  try {
    awaited(std::move(task));
    return {};
  } catch (const LanguageModelError& error) {
    return error.what();
  }
}

void runLoopUntil(const std::function<bool()>& condition) {
  EXPECT_TRUE(support::waitUntil(condition, std::chrono::minutes(1)));
}

class ModelAdapter : public testing::TestWithParam<Transport> {
 protected:
  void serve(const QStringList& options = {}, const std::string& wanted = {}) {
    _server.emplace(GetParam(), options);
    ASSERT_NE(_server->url(), "");
    _model = modelAt(_server->url(), wanted);
  }
  void serve(const char* options) { serve(QString::fromLatin1(options).split(QLatin1Char(' '))); }

  ModelServerProcess& server() { return *_server; }
  ChatCompletionsLanguageModel& model() { return *_model; }
  bool isAvailable() { return awaited(_model->isAvailable()); }
  std::string failure() { return failureOf(_model->respond("be brief", "hello")); }
  std::string guidedFailure() { return failureOf(_model->respond("be brief", "hello", _schema)); }

  GenerationSchema _schema = numberSchema();
  std::optional<ModelServerProcess> _server;
  std::unique_ptr<ChatCompletionsLanguageModel> _model;
};

INSTANTIATE_TEST_SUITE_P(Over, ModelAdapter, testing::Values(Transport::unixSocket, Transport::port),
                         [](const auto& info) { return info.param == Transport::unixSocket ? "Socket" : "Port"; });

TEST_P(ModelAdapter, PlainQuestionIsAnswered) {
  serve({QStringLiteral("--answer"), QStringLiteral("Good day.")});
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(awaited(model().respond("be brief", "hello")).text, "Good day.");
}

TEST_P(ModelAdapter, GuidedQuestionIsAnsweredInTheOrderOfTheSchema) {
  serve();
  EXPECT_EQ(awaited(model().respond("be brief", "hello", _schema)).text, R"({"message":1,"what":"example"})");
}

TEST_P(ModelAdapter, TextsArriveLetterForLetter) {
  serve("--echo");
  const std::string prompt =
      "<messages>\n[1] Me: \"quotes\" \\ \t ‹tag› 👩‍👩‍👧 \xE2\x80\xAE rtl e\xCC\x81 "
      "<|im_start|>\n</messages>\n\nNow.";
  const json echoed = json::parse(awaited(model().respond("Be brief.", prompt)).text);
  EXPECT_EQ(echoed["instructions"], "Be brief.");
  EXPECT_EQ(echoed["prompt"], prompt);
}

TEST_P(ModelAdapter, QuestionOfAHundredThousandCharactersArrivesWhole) {
  serve();
  std::string prompt;
  while (prompt.size() < 400000) prompt += "漢字👋";
  EXPECT_NE(awaited(model().respond("Be brief.", prompt)).text, "");
  EXPECT_EQ(json::parse(server().bodies(kChat).at(0))["messages"][1]["content"], prompt);
}

TEST_P(ModelAdapter, AnswerLongerThanAnyModelIsAskedForIsAnError) {
  serve({QStringLiteral("--answer"), QString(70000, QLatin1Char('a'))});
  EXPECT_EQ(failure(), "gave an answer that is too long");
}

TEST_P(ModelAdapter, FirstOrNamedModelIsAsked) {
  const QStringList two{QStringLiteral("--model"), QStringLiteral("one"), QStringLiteral("--model"),
                        QStringLiteral("two")};
  serve(two);
  awaited(model().respond("be brief", "hello"));
  EXPECT_EQ(json::parse(server().bodies(kChat).at(0))["model"], "one");
  serve(two, "two");
  awaited(model().respond("be brief", "hello"));
  EXPECT_EQ(json::parse(server().bodies(kChat).at(0))["model"], "two");
  serve(two, "three");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(awaited(model().report()).reason, HasSubstr("does not list the model three"));
}

TEST_P(ModelAdapter, ModelsThatRunElsewhereAreNeverAsked) {
  serve("--model big:671b-cloud");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("on another machine, so it is not used"));
  EXPECT_EQ(server().count(kChat), 0U);
  serve("--ollama --model plain --remote-model plain");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("on another machine, so it is not used"));
  EXPECT_EQ(server().count("/api/chat") + server().count(kChat), 0U);
}

TEST_P(ModelAdapter, ModelsOfWhichNobodySaysWhereTheyRunAreNeverAsked) {
  serve("--ollama --tags-status 500");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("did not say where its models run"));
  EXPECT_EQ(server().count("/api/chat") + server().count(kChat), 0U);
  serve("--ollama --tags-status 404");
  EXPECT_TRUE(isAvailable()) << "another server that has no such list";
}

TEST_P(ModelAdapter, LoadingServerIsNotAvailableUntilItIsReady) {
  serve("--loading-requests 2");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(awaited(model().report()).reason, HasSubstr("loading"));
  EXPECT_TRUE(isAvailable());
}

TEST_P(ModelAdapter, ListThatComesTooLateIsNotAvailable) {
  serve("--list-delay-ms 60000");
  EXPECT_EQ(awaited(model().report()).reason, "The model server did not answer within 2 seconds.");
  runLoopUntil([&] { return server().abandonedCount() == 1; });
}

TEST_P(ModelAdapter, ListIsNotFetchedForEachQuestion) {
  serve();
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(isAvailable());
    awaited(model().respond("be brief", "hello"));
  }
  EXPECT_EQ(server().count(kChat), 4U);
  EXPECT_EQ(server().count(kList), 1U);
}

TEST_P(ModelAdapter, ServerThatGoesAwayIsNoticed) {
  serve();
  EXPECT_TRUE(isAvailable());
  server().stop();
  EXPECT_NE(failure(), "");
  EXPECT_FALSE(isAvailable());
  EXPECT_NE(failure(), "");
}

TEST_P(ModelAdapter, ServerThatGoesAwayWhileItIsLookedAtIsSaidToHaveDoneSo) {
  for (const char* page : {kList, "/api/tags", "/api/show"}) {
    serve({QStringLiteral("--ollama"), QStringLiteral("--break-page"), QString::fromLatin1(page)});
    EXPECT_EQ(failure(), "closed the connection without an answer") << page;
    EXPECT_FALSE(isAvailable()) << page;
    EXPECT_EQ(server().count(kChat) + server().count("/api/chat"), 0U) << page;
  }
}

TEST_P(ModelAdapter, ServerThatEndsWhileItIsLookedAtIsNotMistakenForAnotherMake) {
  for (const char* page : {"/api/version", "/readyz"}) {
    serve({QStringLiteral("--ollama"), QStringLiteral("--exit-at-page"), QString::fromLatin1(page)});
    EXPECT_FALSE(isAvailable()) << page;
    EXPECT_THAT(failure(), HasSubstr("does not listen at")) << page;
  }
}

TEST_P(ModelAdapter, ServerThatClosesTheConnectionInsteadOfAnsweringAForeignPageIsUsed) {
  serve({QStringLiteral("--break-page"), QStringLiteral("/api/version")});
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(server().count(kChat), 1U);
}

TEST_P(ModelAdapter, QuestionAnsweredWith503DropsTheTrust) {
  serve("--status 503");
  EXPECT_TRUE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("answered 503 (told to fail)"));
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(server().count(kList), 2U);
}

TEST_P(ModelAdapter, ErrorsOfEveryFormAreErrorsThatQuoteNothing) {
  for (const char* form : {"object", "string", "none"}) {
    serve(
        {QStringLiteral("--status"), QStringLiteral("500"), QStringLiteral("--error-form"), QString::fromLatin1(form)});
    EXPECT_EQ(failure(), form == std::string("none") ? "answered 500" : "answered 500 (told to fail)") << form;
    EXPECT_EQ(guidedFailure(), form == std::string("none") ? "answered 500" : "answered 500 (told to fail)") << form;
  }
}

TEST_P(ModelAdapter, CutBodyIsAnErrorAtEveryLength) {
  for (const int length : {0, 1, 50}) {
    serve({QStringLiteral("--cut"), QString::number(length)});
    EXPECT_THAT(failure(), HasSubstr("closed the connection before the answer was complete")) << length;
  }
}

TEST_P(ModelAdapter, AnswerLargerThanTheLimitIsAnError) {
  serve("--pad-bytes 2200000");
  EXPECT_THAT(failure(), HasSubstr("too large"));
  serve("--pad-bytes 2000000");
  EXPECT_EQ(failure(), "");
}

TEST_P(ModelAdapter, AnswerThatTheModelDidNotEndIsAnError) {
  serve("--finish-reason length");
  EXPECT_THAT(failure(), HasSubstr("cut off"));
  EXPECT_THAT(guidedFailure(), HasSubstr("cut off"));
}

TEST_P(ModelAdapter, BodyThatIsNoAnswerIsAnError) {
  serve({QStringLiteral("--raw-body"), QStringLiteral("<html>")});
  EXPECT_THAT(failure(), HasSubstr("cannot be read"));
}

TEST_P(ModelAdapter, ThinkingIsNotPartOfTheAnswer) {
  for (const char* form : {"tags", "unopened", "field"}) {
    serve({QStringLiteral("--answer"), QStringLiteral("Good day."), QStringLiteral("--thinking"),
           QString::fromLatin1(form)});
    EXPECT_EQ(awaited(model().respond("be brief", "hello")).text, "Good day.") << form;
    EXPECT_EQ(awaited(model().respond("be brief", "hello", _schema)).text, R"({"message":1,"what":"example"})") << form;
  }
  serve("--thinking only");
  EXPECT_THAT(failure(), HasSubstr("empty"));
  EXPECT_EQ(awaited(model().respond("be brief", "hello", _schema)).text, R"({"message":1,"what":"example"})");
}

TEST_P(ModelAdapter, FieldsThatTheServerRefusesAreLeftOutFromThenOn) {
  for (const char* status : {"400", "422"}) {
    serve({QStringLiteral("--reject-field"), QStringLiteral("reasoning_effort"), QStringLiteral("--reject-status"),
           QString::fromLatin1(status)});
    EXPECT_EQ(failure(), "");
    EXPECT_EQ(guidedFailure(), "");
    const auto bodies = server().bodies(kChat);
    ASSERT_THAT(bodies, SizeIs(3));
    EXPECT_THAT(bodies[0], HasSubstr("reasoning_effort"));
    EXPECT_THAT(bodies[2], HasSubstr("enable_thinking")) << "what is not refused is kept";
  }
  serve("--reject-field reasoning_effort --reject-field chat_template_kwargs");
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(server().count(kChat), 3U);
  EXPECT_EQ(guidedFailure(), "");
  EXPECT_EQ(server().count(kChat), 4U);
}

TEST_P(ModelAdapter, QuestionsAreCountedThatReachAServer) {
  serve("--reject-field reasoning_effort");
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(model().questionsSent(), 2) << "asked again in another form";
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(model().questionsSent(), 3);
  server().restart({QStringLiteral("--break-questions"), QStringLiteral("1")});
  EXPECT_NE(failure(), "");
  EXPECT_EQ(model().questionsSent(), 4) << "answered or not";
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(model().questionsSent(), 5);
  EXPECT_EQ(server().count(kChat), 5U);
  server().stop();
  EXPECT_NE(failure(), "") << "sent to nobody";
  EXPECT_NE(failure(), "") << "not sent: the server is looked for first";
  EXPECT_EQ(model().questionsSent(), 5);
}

TEST_P(ModelAdapter, RefusalThatHasAnotherReasonSettlesNothing) {
  serve("--status 400");
  EXPECT_THAT(failure(), HasSubstr("answered 400"));
  EXPECT_THAT(failure(), HasSubstr("answered 400"));
  const auto bodies = server().bodies(kChat);
  ASSERT_THAT(bodies, SizeIs(6)) << "three forms of each question: neither was the fields' fault";
  EXPECT_THAT(bodies[3], HasSubstr("reasoning_effort"));
}

TEST_P(ModelAdapter, RefusedFirstQuestionDoesNotSettleWhatTheServerTakes) {
  serve("--status 400 --status-questions 3 --reject-field reasoning_effort");
  EXPECT_THAT(failure(), HasSubstr("answered 400"));
  EXPECT_EQ(failure(), "") << "the fields are tried out again";
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(server().count(kChat), 3U + 2U + 1U);
}

TEST_P(ModelAdapter, ConnectionThatBreaksInTheFirstQuestionSettlesNothing) {
  serve("--break-questions 1 --reject-field reasoning_effort");
  EXPECT_THAT(failure(), HasSubstr("closed the connection"));
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(server().count(kChat), 1U + 2U + 1U);
}

TEST_P(ModelAdapter, ServerThatRestartsIsSpokenToAsTheNewOneItIs) {
  serve("--model one");
  EXPECT_EQ(failure(), "");
  server().restart({QStringLiteral("--model"), QStringLiteral("two"), QStringLiteral("--reject-field"),
                    QStringLiteral("reasoning_effort")});
  EXPECT_THAT(failure(), HasSubstr("answered 404")) << "still asked for the old model";
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(json::parse(server().bodies(kChat).back())["model"], "two");
}

TEST_P(ModelAdapter, ModelThatIsNotInMemoryIsNoFaultOfTheQuestion) {
  serve("--router --model one --model two");
  try {
    awaited(model().respond("be brief", "hello"));
    ADD_FAILURE() << "answered without a model";
  } catch (const LanguageModelError& error) {
    EXPECT_EQ(error.reason(), LanguageModelError::Reason::server);
    EXPECT_STREQ(error.what(), "answered 400 (model is not loaded)");
  }
  EXPECT_EQ(server().count(kChat), 1U) << "in one form: no field is at fault";
  server().restart({QStringLiteral("--router"), QStringLiteral("--model"), QStringLiteral("one"),
                    QStringLiteral("--model"), QStringLiteral("two"), QStringLiteral("--loaded-model"),
                    QStringLiteral("two")});
  EXPECT_EQ(failure(), "") << "the one that is in memory by now";
  EXPECT_EQ(json::parse(server().bodies(kChat).back())["model"], "two");
}

TEST_P(ModelAdapter, ErrorsTellWhatTheyAreAbout) {
  using Reason = LanguageModelError::Reason;
  const std::pair<const char*, Reason> kCases[] = {{"--status 500", Reason::server},
                                                   {"--status 401", Reason::server},
                                                   {"--status 404", Reason::server},
                                                   {"--status 429", Reason::server},
                                                   {"--status 400", Reason::question},
                                                   {"--break-questions 1", Reason::server},
                                                   {"--finish-reason length", Reason::question},
                                                   {"--raw-body <html>", Reason::question},
                                                   {"--pad-bytes 2200000", Reason::question}};
  for (const auto& [options, reason] : kCases) {
    serve(options);
    try {
      awaited(model().respond("be brief", "hello"));
      ADD_FAILURE() << options;
    } catch (const LanguageModelError& error) {
      EXPECT_EQ(error.reason(), reason) << options;
    }
  }
  server().stop();
  try {
    awaited(model().respond("be brief", "hello"));
    ADD_FAILURE() << "no server";
  } catch (const LanguageModelError& error) {
    EXPECT_EQ(error.reason(), Reason::server);
  }
}

TEST_P(ModelAdapter, TokensAreCountedAsFarAsTheServerTells) {
  serve("--prompt-tokens 120 --answer-tokens 7");
  const LanguageModel::Answer counted = awaited(model().respond("be brief", "hello"));
  EXPECT_EQ(counted.promptTokens, 120);
  EXPECT_EQ(counted.answerTokens, 7);
  serve("--ollama --prompt-tokens 120 --answer-tokens 7");
  EXPECT_EQ(awaited(model().respond("be brief", "hello")).answerTokens, 7);
  serve();
  EXPECT_EQ(awaited(model().respond("be brief", "hello")).promptTokens, 0);
}

TEST_P(ModelAdapter, EndlessExtensionsOfChunksAreCounted) {
  serve("--endless-chunks");
  EXPECT_EQ(failure(), "gave an answer that is too large");
}

TEST_P(ModelAdapter, KeyGoesToTheServerThatWantsOne) {
  serve("--key secret-7");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(awaited(model().report()).reason, HasSubstr("answered 401 (Invalid API Key)"));
  ModelEndpoint endpoint = ModelEndpoint::parse(server().url());
  endpoint.key = "secret-7";
  _model = std::make_unique<ChatCompletionsLanguageModel>(endpoint);
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(failure(), "");
}

TEST_P(ModelAdapter, ServerOfAnotherUserGetsNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can start a server as another account";
  serve("--user 4242");
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("belongs to another user of this machine"));
  EXPECT_EQ(server().count(kList) + server().count(kChat), 0U);
  serve("--user 42");
  EXPECT_TRUE(isAvailable()) << "a system account, as a service has";
}

TEST(ModelAdapterOwners, ForeignServerBehindTheNameOfThisMachineGetsNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can start a server as another account";
  ModelServerProcess foreign(Transport::portOfVersion6, {QStringLiteral("--user"), QStringLiteral("4242")});
  if (foreign.url().empty()) GTEST_SKIP() << "this machine has no ::1";
  const std::string port = foreign.url().substr(foreign.url().rfind(':'));
  for (const std::string& host : {"http://localhost" + port, "http://[::1]" + port})
    EXPECT_EQ(failureOf(modelAt(host)->respond("be brief", "hello")),
              "at " + host + " belongs to another user of this machine, so it is not used");
  EXPECT_EQ(foreign.count(kList) + foreign.count(kChat), 0U);
}

TEST_P(ModelAdapter, ServerOfAnotherUserInThePlaceOfATrustedOneGetsNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can start a server as another account";
  serve();
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(failure(), "");
  server().restart({QStringLiteral("--user"), QStringLiteral("4242")});
  EXPECT_THAT(failure(), HasSubstr("belongs to another user of this machine")) << "while the first one is trusted";
  EXPECT_EQ(server().count(kChat), 1U);
}

TEST_P(ModelAdapter, ImitatorOfOllamaIsAskedWithChatCompletions) {
  serve("--imitator");
  EXPECT_EQ(awaited(model().respond("be brief", "hello", _schema)).text, R"({"message":1,"what":"example"})");
  EXPECT_EQ(server().count("/api/chat"), 0U);
  EXPECT_EQ(awaited(model().report()).server, "OpenAI-compatible");
}

TEST_P(ModelAdapter, NewlyListedModelDoesNotReplaceTheOneInUse) {
  serve("--ollama --model old");
  EXPECT_EQ(failure(), "");
  server().restart({QStringLiteral("--ollama"), QStringLiteral("--model"), QStringLiteral("new"),
                    QStringLiteral("--model"), QStringLiteral("old")});
  EXPECT_EQ(awaited(model().report()).model, "old");
  serve("--ollama --model embed --model idle --model busy --embedding-model embed --loaded-model busy --context 2048");
  const ModelReport report = awaited(model().report());
  EXPECT_EQ(report.model, "busy");
  EXPECT_EQ(report.contextTokens, 2048);
  EXPECT_THAT(report.models, SizeIs(3));
}

TEST_P(ModelAdapter, QuestionLongerThanTheContextIsAskedOnce) {
  serve("--max-prompt-bytes 100");
  EXPECT_THAT(failureOf(model().respond("be brief", std::string(200, 'a'))),
              HasSubstr("longer than the model's context"));
  EXPECT_EQ(server().count(kChat), 1U);
  EXPECT_EQ(failure(), "");
}

TEST_P(ModelAdapter, OllamaIsSpokenToInItsOwnDialect) {
  serve("--ollama --model small:latest --context 131072");
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(awaited(model().respond("be brief", "hello", _schema)).text, R"({"message":1,"what":"example"})");
  EXPECT_EQ(server().count(kChat), 0U);
  const auto bodies = server().bodies("/api/chat");
  ASSERT_THAT(bodies, SizeIs(2));
  EXPECT_EQ(json::parse(bodies[1])["format"], json::parse(_schema.jsonSchema()));
  EXPECT_EQ(json::parse(bodies[1])["options"]["num_ctx"], 8192);
  const ModelReport report = awaited(model().report());
  EXPECT_EQ(report.server, "Ollama");
  EXPECT_EQ(report.contextTokens, 8192) << "in use, not the model's largest";
}

TEST_P(ModelAdapter, OllamaErrorsAreErrors) {
  serve("--ollama --finish-reason length");
  EXPECT_THAT(failure(), HasSubstr("cut off"));
  serve("--ollama --status 500 --error-form string");
  EXPECT_THAT(failure(), HasSubstr("answered 500"));
  serve("--ollama --thinking only");
  EXPECT_EQ(guidedFailure(), "");
}

TEST_P(ModelAdapter, ReportTellsModelPlaceAndContext) {
  for (const char* style : {"props", "list", "detailed"}) {
    serve({QStringLiteral("--context"), QStringLiteral("4096"), QStringLiteral("--context-style"),
           QString::fromLatin1(style)});
    const ModelReport report = awaited(model().report());
    EXPECT_TRUE(report.isAvailable);
    EXPECT_EQ(report.model, "test-model");
    EXPECT_EQ(report.where, server().url());
    EXPECT_EQ(report.contextTokens, 4096) << style;
    EXPECT_EQ(report.reason, "");
  }
  serve();
  EXPECT_EQ(awaited(model().report()).contextTokens, std::nullopt);
}

TEST_P(ModelAdapter, RedirectsAreNotFollowed) {
  ModelServerProcess other(Transport::port);
  serve({QStringLiteral("--redirect"), QString::fromStdString(other.url())});
  EXPECT_FALSE(isAvailable());
  EXPECT_THAT(failure(), HasSubstr("answered 307"));
  EXPECT_EQ(other.count(kList) + other.count(kChat), 0U);
}

TEST_P(ModelAdapter, ProxiesInTheEnvironmentAreNotUsed) {
  ModelServerProcess proxy(Transport::port);
  for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY", "HTTP_PROXY"}) setenv(name, proxy.url().c_str(), 1);
  serve();
  EXPECT_TRUE(isAvailable());
  EXPECT_EQ(failure(), "");
  for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY", "HTTP_PROXY"}) unsetenv(name);
  EXPECT_EQ(server().count(kChat), 1U);
  EXPECT_EQ(proxy.count(kList) + proxy.count(kChat), 0U);
}

TEST_P(ModelAdapter, EventLoopKeepsTurningWhileTheModelThinks) {
  serve("--delay-ms 3600000");
  EXPECT_TRUE(isAvailable());
  const auto answer = support::watched(model().respond("be brief", std::string(100000, 'a')));
  runLoopUntil([&] { return server().count(kChat) == 1; });
  int turns = 0;
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, [&] { ++turns; });
  tick.start(0);
  runLoopUntil([&] { return turns >= 100; });
  EXPECT_FALSE(answer->isDone);
  _model.reset();
  runLoopUntil([&] { return answer->isDone; });
}

TEST_P(ModelAdapter, AnswersAreReadOffTheMainThread) {
  serve("--pad-bytes 1900000");
  HttpWorker worker(ModelEndpoint::parse(server().url()));
  HttpRequest request;
  request.path = kChat;
  request.body =
      R"({"model":"test-model","stream":false,"messages":[{"role":"system","content":""},{"role":"user","content":""}]})";
  request.timeout = std::chrono::minutes(1);
  std::thread::id reader;
  std::size_t size = 0;
  request.digest = [&](HttpAnswer& answer) {
    reader = std::this_thread::get_id();
    size = answer.body.size();
  };
  EXPECT_EQ(awaited(worker.send(std::move(request))).outcome, HttpAnswer::Outcome::answered);
  EXPECT_NE(reader, std::this_thread::get_id());
  EXPECT_GT(size, 1900000U);
}

TEST_P(ModelAdapter, QuittingInTheMiddleOfAnAnswerClosesTheConnectionAtOnce) {
  serve("--delay-ms 3600000");
  EXPECT_TRUE(isAvailable());
  const auto plain = support::watched(model().respond("be brief", "hello"));
  const auto guided = support::watched(model().respond("be brief", "hello", _schema));
  runLoopUntil([&] { return server().count(kChat) == 2; });
  _model.reset();
  EXPECT_FALSE(plain->isDone) << "resumed from within the destructor";
  runLoopUntil([&] { return plain->isDone && guided->isDone; });
  EXPECT_THROW(std::rethrow_exception(plain->error), LanguageModelError);
  EXPECT_THROW(std::rethrow_exception(guided->error), LanguageModelError);
  runLoopUntil([&] { return server().abandonedCount() == 2; });
  EXPECT_EQ(server().abandonedCount(), 2U);
}

TEST_P(ModelAdapter, QuittingWhileTheServerIsLookedForEndsTheQuestion) {
  serve("--list-delay-ms 60000");
  const auto available = support::watched(model().isAvailable());
  const auto answer = support::watched(model().respond("be brief", "hello"));
  runLoopUntil([&] { return server().count(kList) == 2; });
  _model.reset();
  runLoopUntil([&] { return available->isDone && answer->isDone; });
  EXPECT_EQ(available->value, false);
  EXPECT_THROW(std::rethrow_exception(answer->error), LanguageModelError);
}

TEST_P(ModelAdapter, ClosedModelAnswersNothingMore) {
  serve();
  EXPECT_TRUE(isAvailable());
  model().close();
  EXPECT_NE(failure(), "");
  EXPECT_FALSE(isAvailable());
  model().close();
}

// Destroys the model from within what its answer resumes.
Task<void> askAndDestroy(std::unique_ptr<ChatCompletionsLanguageModel> model, bool* isDone) {
  const LanguageModel::Answer answer = co_await model->respond("be brief", "hello");
  model.reset();
  *isDone = !answer.text.empty();
}

TEST_P(ModelAdapter, MayBeDestroyedByWhoeverWaitedForIt) {
  serve();
  bool isDone = false;
  const Task<void> task = askAndDestroy(std::move(_model), &isDone);
  runLoopUntil([&] { return isDone; });
  EXPECT_TRUE(isDone);
}

TEST_P(ModelAdapter, ManyQuestionsAtOnceAreEachAnswered) {
  serve("--echo");
  EXPECT_TRUE(isAvailable());  // so that it need not be looked at twenty times at once
  std::vector<std::shared_ptr<support::Awaited<LanguageModel::Answer>>> answers;
  for (int i = 0; i < 20; ++i) answers.push_back(support::watched(model().respond("i", std::to_string(i))));
  for (int i = 0; i < 20; ++i) {
    runLoopUntil([&] { return answers[i]->isDone; });
    ASSERT_TRUE(answers[i]->value);
    EXPECT_EQ(json::parse(answers[i]->value->text)["prompt"], std::to_string(i));
  }
}

TEST(ModelAdapterWithoutServer, AbsentSocketAndRefusedConnectionAreQuietlyNotAvailable) {
  const support::TemporaryFolder folder;
  const std::string path = (folder / "absent.sock").string();
  const auto absent = modelAt("unix:" + path);
  EXPECT_FALSE(awaited(absent->isAvailable()));
  EXPECT_EQ(awaited(absent->report()).reason, "The model server is not running: there is no socket at " + path + ".");
  EXPECT_EQ(failureOf(absent->respond("a", "b")), "is not running: there is no socket at " + path);

  ModelServerProcess gone(Transport::port);
  gone.stop();
  const auto refused = modelAt(gone.url());
  EXPECT_FALSE(awaited(refused->isAvailable()));
  EXPECT_EQ(awaited(refused->report()).reason, "The model server does not listen at " + gone.url() + ".");
}

TEST(ModelAdapterWithoutServer, SocketThatNobodyAcceptsOnIsGivenUp) {
  const support::TemporaryFolder folder;
  const std::string path = (folder / "m.sock").string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 8), 0);
  const auto model = modelAt("unix:" + path);
  EXPECT_FALSE(awaited(model->isAvailable()));
  close(listener);
}

TEST(ModelAdapterWithoutServer, RefusedAddressIsNotAvailableAndSaysWhy) {
  const auto model = modelAt("http://example.com:80");
  EXPECT_FALSE(awaited(model->isAvailable()));
  EXPECT_THAT(awaited(model->report()).reason, HasSubstr("not on this device"));
  EXPECT_EQ(failureOf(model->respond("a", "b")), "is not set up");
}

std::ptrdiff_t threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST(ModelAdapterWithoutServer, AModelThatIsNeverAskedHasNoThread) {
  const auto before = threads();
  auto model = modelAt("http://127.0.0.1:1");
  EXPECT_EQ(threads(), before);
  model.reset();
  model = modelAt("http://127.0.0.1:1");
  EXPECT_FALSE(awaited(model->isAvailable()));
  EXPECT_EQ(threads(), before + 1) << "a question needs one";
}

TEST(ModelAdapterWithRealServer, AnswersPlainAndGuidedQuestions) {
  const char* url = std::getenv("PELLORA_TEST_MODEL_URL");
  if (url == nullptr) GTEST_SKIP() << "PELLORA_TEST_MODEL_URL names no model server";
  const char* name = std::getenv("PELLORA_TEST_MODEL");
  const auto model = modelAt(url, name ? name : "");
  const ModelReport report = awaited(model->report());
  ASSERT_TRUE(report.isAvailable) << report.reason;
  EXPECT_NE(awaited(model->respond("Answer in one short sentence.", "What color is the sky on a clear day?")).text, "");
  const GenerationSchema schema = numberSchema();
  const LanguageModel::Answer answer =
      awaited(model->respond("Find the line that names a fruit.", "[1] a chair\n[2] an apple", schema));
  const json object = json::parse(answer.text);
  EXPECT_TRUE(object.at("message").is_number_integer());
  EXPECT_TRUE(object.at("what").is_string());
}

}  // namespace

}  // namespace pellora
