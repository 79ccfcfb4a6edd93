// The bodies of requests and the reading of answers, in both dialects, and the choice of a model.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"
#include "Adapters/Linux/Model/OllamaProtocol.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using ChatCompletionsProtocol::Extras;
using nlohmann::json;
using nlohmann::ordered_json;

ModelQuestion plainQuestion() {
  return {"m", "be brief", "hello"};
}

const GenerationSchema& schema() {
  static const GenerationSchema schema{"Found", {{"z", "", GeneratedInteger()}, {"a", "", GeneratedText()}}};
  return schema;
}

ModelQuestion guidedQuestion() {
  return {"m", "be brief", "hello", &schema()};
}

TEST(ChatCompletionsRequest, PlainQuestionHasExactlyTheFieldsThatAreMeant) {
  const json body = json::parse(ChatCompletionsProtocol::requestBody(plainQuestion(), Extras::both));
  EXPECT_EQ(body, json::parse(R"({"model":"m","stream":false,"max_tokens":1024,
    "messages":[{"role":"system","content":"be brief"},{"role":"user","content":"hello"}],
    "chat_template_kwargs":{"enable_thinking":false},"reasoning_effort":"none"})"));
}

TEST(ChatCompletionsRequest, ExtrasCanBeLeftOut) {
  const json some = json::parse(ChatCompletionsProtocol::requestBody(plainQuestion(), Extras::templateOnly));
  EXPECT_TRUE(some.contains("chat_template_kwargs"));
  EXPECT_FALSE(some.contains("reasoning_effort"));
  const json none = json::parse(ChatCompletionsProtocol::requestBody(plainQuestion(), Extras::none));
  EXPECT_FALSE(none.contains("chat_template_kwargs"));
  EXPECT_FALSE(none.contains("reasoning_effort"));
}

TEST(ChatCompletionsRequest, SchemaStandsInTheFormatAndAfterTheInstructionsInItsOwnOrder) {
  const std::string text = ChatCompletionsProtocol::requestBody(guidedQuestion(), Extras::both);
  const ordered_json body = ordered_json::parse(text);
  const ordered_json& format = body["response_format"];
  EXPECT_EQ(format["type"], "json_schema");
  EXPECT_EQ(format["json_schema"]["name"], "Found");
  EXPECT_EQ(format["json_schema"]["strict"], true);
  EXPECT_EQ(format["json_schema"]["schema"].dump(), schema().jsonSchema());
  const std::string system = body["messages"][0]["content"];
  EXPECT_TRUE(system.starts_with("be brief\n\n"));
  EXPECT_TRUE(system.ends_with(schema().jsonSchema()));
}

TEST(ChatCompletionsRequest, InvalidUtf8IsRepairedAndControlCharactersSurvive) {
  ModelQuestion question = plainQuestion();
  question.prompt =
      "a\xFF"
      "b\xED\xA0\x80"
      "c\xF0\x9F\x91"
      "d\x01\n\"\\ \xE2\x80\xAE"
      "e\xCC\x81\xCC\x81";
  for (const std::string& text :
       {ChatCompletionsProtocol::requestBody(question, Extras::both), OllamaProtocol::requestBody(question, 8192)}) {
    EXPECT_TRUE(text::isValidUtf8(text));
    const std::string prompt = json::parse(text)["messages"][1]["content"];
    EXPECT_TRUE(prompt.find("d\x01\n\"\\ \xE2\x80\xAE"
                            "e\xCC\x81\xCC\x81") != std::string::npos);
  }
}

std::string chatAnswer(const json& message, const json& finishReason = "stop") {
  return json{{"choices", json::array({json{{"message", message}, {"finish_reason", finishReason}}})}}.dump();
}

TEST(ChatCompletionsAnswer, ContentOfAnEndedAnswerIsTheAnswer) {
  EXPECT_EQ(ChatCompletionsProtocol::decodeAnswer(chatAnswer({{"content", "Hi."}}), plainQuestion()).text, "Hi.");
  const json guided{{"content", R"({"z":2,"a":"1"})"}, {"reasoning_content", "hm"}};
  EXPECT_EQ(ChatCompletionsProtocol::decodeAnswer(chatAnswer(guided), guidedQuestion()).text, R"({"z":2,"a":"1"})");
}

TEST(ChatCompletionsAnswer, GuidedAnswerIsFoundInTheThinkingWhenTheContentIsEmpty) {
  for (const char* field : {"reasoning_content", "reasoning"}) {
    const json message{{"content", nullptr}, {field, R"({"z":2,"a":"1"})"}};
    EXPECT_EQ(ChatCompletionsProtocol::decodeAnswer(chatAnswer(message), guidedQuestion()).text, R"({"z":2,"a":"1"})");
    EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(chatAnswer(message), plainQuestion()), LanguageModelError);
    const json idle{{"content", ""}, {field, "I wonder"}};
    EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(chatAnswer(idle), guidedQuestion()), LanguageModelError);
  }
}

TEST(ChatCompletionsAnswer, EverythingElseIsAnErrorThatQuotesNothing) {
  ModelQuestion question = plainQuestion();
  question.prompt = "<messages>\n[1] Sam: SECRET WORDS\n</messages>";
  const std::string good = chatAnswer({{"content", "SECRET WORDS"}});
  std::vector<std::string> bodies{"",
                                  "SECRET WORDS",
                                  "[]",
                                  "null",
                                  "12",
                                  "\"SECRET WORDS\"",
                                  "{}",
                                  R"({"choices":[]})",
                                  R"({"choices":{}})",
                                  R"({"choices":["SECRET WORDS"]})",
                                  R"({"error":"SECRET WORDS"})",
                                  R"({"error":{"message":"SECRET WORDS"}})",
                                  R"({"choices":[{"finish_reason":"stop"}]})",
                                  chatAnswer({{"content", "SECRET WORDS"}}, "length"),
                                  chatAnswer({{"content", "SECRET WORDS"}}, "content_filter"),
                                  chatAnswer({{"content", "SECRET WORDS"}}, nullptr),
                                  chatAnswer({{"content", 7}}),
                                  chatAnswer({{"content", " \n"}}),
                                  chatAnswer("SECRET WORDS"),
                                  chatAnswer({{"content", nullptr}}),
                                  R"({"choices":[{"finish_reason":"stop","message":{"content":"a\ud800"}}]})",
                                  "{\"choices\":[{\"finish_reason\":\"stop\",\"message\":{\"content\":\"\xFF\"}}]}",
                                  std::string(200000, '['),
                                  std::string(200000, '{')};
  for (std::size_t length = 0; length < good.size(); ++length) bodies.push_back(good.substr(0, length));
  for (const std::string& body : bodies) {
    try {
      ChatCompletionsProtocol::decodeAnswer(body, question);
      ADD_FAILURE() << body.substr(0, 100);
    } catch (const LanguageModelError& error) {
      EXPECT_EQ(std::string(error.what()).find("SECRET WORDS"), std::string::npos);
    }
  }
}

TEST(ChatCompletionsAnswer, PromptThatTheServerSilentlyCutIsAnError) {
  ModelQuestion question = plainQuestion();
  question.prompt = std::string(100000, 'a');
  const auto body = [](long long tokens) {
    json answer = json::parse(chatAnswer({{"content", "Hi."}}));
    answer["usage"]["prompt_tokens"] = tokens;
    return answer.dump();
  };
  EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(body(4096), question), LanguageModelError);
  EXPECT_NO_THROW(ChatCompletionsProtocol::decodeAnswer(body(12500), question));
  EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(body(32768), question), LanguageModelError) << "a full context";
  EXPECT_NO_THROW(ChatCompletionsProtocol::decodeAnswer(body(32769), question));
  question.prompt.clear();
  for (int i = 0; i < 6230; ++i) question.prompt += "漢";
  EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(body(4096), question), LanguageModelError);
  EXPECT_THROW(ChatCompletionsProtocol::decodeAnswer(body(2900), question), LanguageModelError);
  EXPECT_NO_THROW(ChatCompletionsProtocol::decodeAnswer(body(4050), question));
  EXPECT_NO_THROW(ChatCompletionsProtocol::decodeAnswer(body(0), question));
  EXPECT_NO_THROW(ChatCompletionsProtocol::decodeAnswer(body(1), question));
}

TEST(ModelAnswer, ThinkingIsDroppedWhereverItsTagsStand) {
  const std::pair<const char*, const char*> kCases[] = {
      {"Hi.", "Hi."},
      {"<think>\nhm\n</think>\n\nHi.", "Hi."},
      {"<think></think>Hi.", "Hi."},
      {"hm\n</think>\nHi.", "Hi."},
      {"<think>a</think>Hi<think>b</think>.", "Hi."},
      {"<think>a</think>b</think>Hi.", "Hi."},
      {"Hi.<think>cut", "Hi."},
      {"<think>cut", ""},
      {"</think>", ""},
      {"a < b and c > d", "a < b and c > d"},
      {"<thinking>Hi.", "<thinking>Hi."},
      {"  Hi.\n", "Hi."},
      {"", ""},
  };
  for (const auto& [content, expected] : kCases) EXPECT_EQ(ModelAnswer::withoutThinking(content), expected) << content;
}

TEST(ChatCompletionsErrors, OverflowIsRecognizedInEveryForm) {
  EXPECT_TRUE(ServerError::isContextOverflow(R"({"error":{"type":"exceed_context_size_error"}})"));
  EXPECT_TRUE(ServerError::isContextOverflow(R"({"error":{"code":"context_length_exceeded"}})"));
  EXPECT_TRUE(ServerError::isContextOverflow(R"({"error":{"code":400,"message":"maximum context length"}})"));
  EXPECT_TRUE(ServerError::isContextOverflow(R"({"error":"the prompt is too long"})"));
  EXPECT_TRUE(ServerError::isContextOverflow(R"({"object":"error","message":"maximum context length"})"));
  EXPECT_FALSE(ServerError::isContextOverflow(R"({"error":"unknown field"})"));
  EXPECT_FALSE(ServerError::isContextOverflow("context"));
  EXPECT_FALSE(ServerError::isContextOverflow(""));
}

LanguageModelError errorFor(int status, const std::string& body, const std::string& prompt = "hello") {
  ModelQuestion question = plainQuestion();
  question.prompt = prompt;
  return ServerError::toQuestion(status, body, question);
}

TEST(ChatCompletionsErrors, OnlyWhatIsAboutTheQuestionUsesUpATry) {
  using Reason = LanguageModelError::Reason;
  for (const int status : {400, 413, 414, 422}) EXPECT_EQ(errorFor(status, "").reason(), Reason::question) << status;
  for (const int status : {307, 401, 402, 403, 404, 408, 429, 500, 502, 503, 504})
    EXPECT_EQ(errorFor(status, "").reason(), Reason::server) << status;
  EXPECT_EQ(errorFor(200, R"({"error":"x"})").reason(), Reason::question);
  EXPECT_EQ(errorFor(200, R"({"error":{"code":503,"message":"x"}})").reason(), Reason::server);
}

TEST(ChatCompletionsErrors, MessageTellsMoreThanTheStatus) {
  using Reason = LanguageModelError::Reason;
  const auto said = [](int status, const std::string& message, const std::string& prompt = "hello") {
    return errorFor(status, json{{"error", {{"message", message}}}}.dump(), prompt).reason();
  };
  for (const char* missing : {"model is not loaded", "model 'x' not found", "No models loaded.", "Model unloaded.",
                              "Failed to load model \"x\": not enough context memory", "The model has crashed"})
    EXPECT_EQ(said(400, missing), Reason::server) << missing;
  for (const char* refused : {"the field was not found", "no such role in the model's template", "model", ""})
    EXPECT_EQ(said(400, refused), Reason::question) << refused;
  const std::string unexpected = "The model produced output that does not match the expected peg-native format";
  EXPECT_EQ(said(500, unexpected), Reason::question);
  EXPECT_EQ(said(500, "x. " + unexpected), Reason::server);
  EXPECT_EQ(said(400, "cannot read: my model train was not found", "my model train was not found"), Reason::question)
      << "the user's words";
}

TEST(ChatCompletionsErrors, MessageOfTheServerIsRepeatedShortAndPlain) {
  const auto text = [](const std::string& body) { return std::string(errorFor(500, body).what()); };
  EXPECT_EQ(text(R"({"error":"model requires more system memory"})"),
            "answered 500 (model requires more system memory)");
  EXPECT_EQ(text(R"({"error":{"message":"no slot\nfree"}})"), "answered 500 (no slot free)");
  EXPECT_EQ(text(R"({"object":"error","message":"busy"})"), "answered 500 (busy)");
  EXPECT_EQ(text(R"({"detail":"Not authenticated"})"), "answered 500 (Not authenticated)");
  EXPECT_EQ(text(R"({"error":"a\u001b[2J\u202eb\u009bc"})"), "answered 500 (a [2J?b?c)");
  EXPECT_EQ(text("{\"error\":\"" + std::string(500, 'x') + "\"}"), "answered 500 (" + std::string(120, 'x') + "...)");
  for (const char* body : {"", "<html>", "{}", R"({"error":{}})", R"({"error":7})", R"({"error":""})"})
    EXPECT_EQ(text(body), "answered 500") << body;
}

TEST(ChatCompletionsErrors, MessageThatRepeatsTheQuestionIsLeftOut) {
  const std::string prompt = "[1] Sam: my password is hunter2";
  for (const char* body : {R"({"error":"cannot read: my password is hunter2"})", R"({"error":"near 'hunter2'"})",
                           R"({"error":"token \"Sam\""})", R"({"error":"at \\u0041"})"})
    EXPECT_STREQ(errorFor(500, body, prompt).what(), "answered 500") << body;
  EXPECT_STREQ(errorFor(500, R"({"error":"out of memory"})", prompt).what(), "answered 500 (out of memory)");
}

TEST(ModelLists, NamesAndContextSizesAreRead) {
  const auto models = ChatCompletionsProtocol::decodeModels(
      R"({"data":[{"id":"a","max_model_len":4096},{"id":"b","meta":{"n_ctx_train":8192}},{"id":7},{"id":"c"},3]})");
  ASSERT_TRUE(models);
  ASSERT_EQ(models->size(), 3U);
  EXPECT_EQ((*models)[0].contextTokens, 4096);
  EXPECT_EQ((*models)[1].trainedTokens, 8192);
  EXPECT_EQ((*models)[2].contextTokens, std::nullopt);
  EXPECT_TRUE(ChatCompletionsProtocol::decodeModels(R"({"object":"list","data":null})")->empty());
  for (const char* body : {"", "[]", "{}", R"({"data":7})", R"({"data":)", "<html>"})
    EXPECT_FALSE(ChatCompletionsProtocol::decodeModels(body)) << body;
}

std::vector<ListedModel> listed(const std::vector<std::string>& ids) {
  std::vector<ListedModel> models(ids.size());
  for (std::size_t place = 0; place < ids.size(); ++place) models[place].id = ids[place];
  return models;
}

TEST(ModelLists, StatesAndKindsOfAModelRouterAreRead) {
  const auto models = ChatCompletionsProtocol::decodeModels(
      R"({"data":[{"id":"a","status":{"value":"loaded"}},{"id":"b","status":{"value":"sleeping"}},
        {"id":"c","status":{"value":"loading"}},{"id":"d","architecture":{"output_modalities":["decisions"]}},
        {"id":"e","architecture":{"output_modalities":["text","decisions"]}},
        {"id":"f","architecture":{"output_modalities":[]}}]})");
  ASSERT_TRUE(models && models->size() == 6);
  const auto isLoaded = [&](std::size_t place) { return (*models)[place].isLoaded; };
  EXPECT_TRUE(isLoaded(0) && isLoaded(1)) << "one that sleeps wakes up for a question";
  EXPECT_FALSE(isLoaded(2) || isLoaded(3));
  EXPECT_EQ((*models)[3].completesText, false);
  EXPECT_EQ((*models)[4].completesText, std::nullopt) << "models for embedding say text as well";
  EXPECT_EQ((*models)[5].completesText, std::nullopt);
}

TEST(ModelLists, DetailsAreFoundOnThePagesOfTheirServers) {
  EXPECT_EQ(ChatCompletionsProtocol::contextFromProperties(R"({"default_generation_settings":{"n_ctx":512}})"), 512);
  EXPECT_EQ(ChatCompletionsProtocol::contextFromProperties(R"({"default_generation_settings":{"n_ctx":-1}})"),
            std::nullopt);
  std::vector<ListedModel> models = listed({"x", "m", "e"});
  EXPECT_TRUE(ChatCompletionsProtocol::addDetails(R"({"data":[{"id":"x","type":"llm","max_context_length":9},
    {"id":"m","type":"vlm","state":"loaded","max_context_length":32768,"loaded_context_length":4096},
    {"id":"e","type":"embeddings"},{"id":"y"},7]})",
                                                  models));
  EXPECT_EQ(models[0].contextTokens, std::nullopt) << "the model's largest is not in use";
  EXPECT_FALSE(models[0].isLoaded);
  EXPECT_EQ(models[1].contextTokens, 4096);
  EXPECT_TRUE(models[1].isLoaded && models[1].completesText.value());
  EXPECT_FALSE(models[2].completesText.value());
  EXPECT_FALSE(ChatCompletionsProtocol::addDetails("{}", models));
}

std::string chosen(std::vector<ListedModel> models, const std::string& wanted, const std::string& inUse = {}) {
  const ModelChoice choice = ModelChoice::among(models, wanted, inUse);
  EXPECT_NE(choice.model.id.empty(), choice.trouble.empty());
  return choice.model.id;
}

std::string chosenByName(const std::vector<std::string>& ids, const std::string& wanted) {
  return chosen(listed(ids), wanted);
}

TEST(ModelChoice, TheWantedOneOrTheFirstThatRunsHere) {
  EXPECT_EQ(chosenByName({"a", "b"}, ""), "a");
  EXPECT_EQ(chosenByName({"a", "b"}, "b"), "b");
  EXPECT_EQ(chosenByName({"a", "b"}, "c"), "");
  EXPECT_EQ(chosenByName({"a:latest"}, "a"), "a:latest");
  EXPECT_EQ(chosenByName({"a:latest"}, "A"), "");
  EXPECT_EQ(chosenByName({}, ""), "");
  EXPECT_EQ(chosenByName({"big-cloud", "a"}, ""), "a");
  EXPECT_EQ(chosenByName({"big:671b-cloud"}, ""), "");
  EXPECT_EQ(chosenByName({"big:cloud"}, "big:cloud"), "");
  EXPECT_EQ(chosenByName({"big:CLOUD", "a"}, "big:CLOUD"), "");
  EXPECT_EQ(chosenByName({"cloudy"}, ""), "cloudy");
}

TEST(ModelChoice, ModelsForEmbeddingAreChosenOnlyByName) {
  for (const char* name : {"text-embedding-small", "bge-m3", "BAAI/bge-m3", "all-minilm:latest", "jina-reranker",
                           "snowflake-arctic-embed", "gte-large", "multilingual-e5-base"}) {
    EXPECT_EQ(chosenByName({name, "a"}, ""), "a") << name;
    EXPECT_EQ(chosenByName({name}, ""), "") << name;
    EXPECT_EQ(chosenByName({name, "a"}, name), name);
  }
  std::vector<ListedModel> models = listed({"a", "b"});
  models[0].completesText = false;
  EXPECT_EQ(chosen(models, ""), "b") << "what the server tells counts more than the name";
}

TEST(ModelChoice, TheOneInUseStaysAndElseOneThatIsLoadedIsTaken) {
  std::vector<ListedModel> models = listed({"new", "old", "loaded"});
  models[2].isLoaded = true;
  EXPECT_EQ(chosen(models, "", "old"), "old");
  EXPECT_EQ(chosen(models, "", "gone"), "loaded");
  EXPECT_EQ(chosen(models, "new", "old"), "new");
  models[1].isRemote = true;
  EXPECT_EQ(chosen(models, "", "old"), "loaded");
  EXPECT_EQ(chosen(models, "old"), "") << "runs elsewhere";
  models[2].completesText = false;
  EXPECT_EQ(chosen(models, ""), "new");
}

TEST(OllamaRequest, ContextSchemaAndNoCuttingAreAskedFor) {
  const ordered_json body = ordered_json::parse(OllamaProtocol::requestBody(guidedQuestion(), 8192));
  EXPECT_EQ(body["format"].dump(), schema().jsonSchema());
  EXPECT_EQ(body["truncate"], false);
  EXPECT_EQ(body["shift"], false);
  EXPECT_EQ(body["think"], false);
  EXPECT_EQ(body["stream"], false);
  EXPECT_EQ(body["options"], ordered_json::parse(R"({"num_ctx":8192,"num_predict":1024})"));
  EXPECT_FALSE(ordered_json::parse(OllamaProtocol::requestBody(plainQuestion(), 8192)).contains("format"));
}

TEST(OllamaRequest, ContextIsTheSameForUsualQuestionsAndGrowsUpToTheModelsLimit) {
  ModelQuestion question = plainQuestion();
  EXPECT_EQ(OllamaProtocol::contextFor(question, std::nullopt), 8192);
  EXPECT_EQ(OllamaProtocol::contextFor(question, 131072), 8192);
  EXPECT_EQ(OllamaProtocol::contextFor(question, 2048), 2048);
  question.prompt = std::string(9000, 'a');
  EXPECT_EQ(OllamaProtocol::contextFor(question, 131072), 8192);
  for (int i = 0; i < 6000; ++i) question.prompt += "漢";
  EXPECT_EQ(OllamaProtocol::contextFor(question, 131072), 16384);
  question.prompt = std::string(100000, 'a');
  EXPECT_EQ(OllamaProtocol::contextFor(question, 131072), 65536);
  EXPECT_EQ(OllamaProtocol::contextFor(question, 40000), 40000);
}

TEST(OllamaAnswer, OnlyAWholeAnswerOfThisDeviceCounts) {
  const std::string answer = R"({"z":2,"a":"1"})";
  const auto body = [&](const json& changes) {
    json whole{{"done", true}, {"done_reason", "stop"}, {"message", {{"content", answer}}}};
    whole.merge_patch(changes);
    return whole.dump();
  };
  const auto decode = [](const std::string& text) { return OllamaProtocol::decodeAnswer(text, guidedQuestion()); };
  EXPECT_EQ(decode(body(json::object())).text, answer);
  EXPECT_EQ(decode(body({{"message", {{"content", ""}, {"thinking", answer}}}})).text, answer);
  EXPECT_THROW(decode(""), LanguageModelError);
  EXPECT_THROW(decode("[]"), LanguageModelError);
  for (const json& changes : {json{{"error", "x"}}, json{{"done_reason", "length"}}, json{{"done_reason", "load"}},
                              json{{"done_reason", nullptr}}, json{{"done", false}}, json{{"message", nullptr}},
                              json{{"remote_host", "h"}}, json{{"message", {{"content", "{}"}}}}})
    EXPECT_THROW(decode(body(changes)), LanguageModelError) << changes;
}

TEST(OllamaFacts, VersionTagsRunningModelsAndFactsAreRead) {
  EXPECT_TRUE(OllamaProtocol::isVersion(R"({"version":"0.13.0"})"));
  for (const char* body : {"", "{}", R"({"version":""})", R"({"version":1})", R"({"error":"Unexpected endpoint"})"})
    EXPECT_FALSE(OllamaProtocol::isVersion(body)) << body;
  std::vector<ListedModel> models = listed({"a:latest", "b", "c", "d"});
  EXPECT_TRUE(OllamaProtocol::addTags(R"({"models":[{"name":"a:latest","capabilities":["embedding"]},
    {"name":"b","remote_host":"h"},{"model":"c","remote_model":"r","capabilities":["completion","tools"]}]})",
                                      models));
  EXPECT_FALSE(models[0].isRemote || models[3].isRemote);
  EXPECT_TRUE(models[1].isRemote && models[2].isRemote);
  EXPECT_EQ(models[0].completesText, false);
  EXPECT_EQ(models[2].completesText, true);
  EXPECT_EQ(models[3].completesText, std::nullopt);
  EXPECT_FALSE(OllamaProtocol::addTags(R"({"models":[{"name":"other"}]})", models));
  EXPECT_FALSE(OllamaProtocol::addTags("", models));
  OllamaProtocol::addRunning(R"({"models":[{"name":"d","context_length":4096},{"name":"x"}]})", models);
  EXPECT_TRUE(models[3].isLoaded);
  EXPECT_EQ(models[3].contextTokens, 4096);
  OllamaProtocol::addFacts(R"({"model_info":{"llama.context_length":131072,"x":1},"remote_host":"h"})", models[3]);
  EXPECT_EQ(models[3].trainedTokens, 131072);
  EXPECT_TRUE(models[3].isRemote);
  OllamaProtocol::addFacts("no", models[0]);
  EXPECT_FALSE(models[0].isRemote);
}

}  // namespace

}  // namespace pellora
