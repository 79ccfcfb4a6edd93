#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/GeneratedContent.h"

namespace pellora {
namespace {

GenerationSchema schema() {
  const GenerationSchema item = {"Item",
                                 {{"number", "A \"number\"", GeneratedInteger()}, {"word", "", GeneratedText()}}};
  return {"Answer",
          {{"zeta", "", GeneratedChoice{{"one", "two"}}},
           {"items", "Some items\n", GeneratedList{std::make_shared<const GenerationSchema>(item), 2}}}};
}

TEST(GenerationSchema, IsJsonSchemaWithThePropertiesInTheirOrder) {
  EXPECT_EQ(schema().jsonSchema(),
            R"({"type":"object","properties":{"zeta":{"type":"string","enum":["one","two"]},)"
            R"("items":{"type":"array","maxItems":2,"items":{"type":"object","properties":{)"
            R"("number":{"type":"integer","description":"A \"number\""},"word":{"type":"string","maxLength":400}},)"
            R"("required":["number","word"],"additionalProperties":false},"description":"Some items\n"}},)"
            R"("required":["zeta","items"],"additionalProperties":false})");
}

std::optional<GeneratedContent> decode(std::string_view json) {
  return GeneratedContent::decode(schema(), json);
}

TEST(GeneratedContent, ReadsAnAnswerThatFollowsItsSchema) {
  const auto content = decode(R"( {"items":[{"word":"a","number":1},{"number":-2.0,"word":""}],"zeta":"two"} )");
  ASSERT_TRUE(content);
  EXPECT_EQ(content->text("zeta"), "two");
  ASSERT_EQ(content->items("items").size(), 2u);
  EXPECT_EQ(content->items("items")[0].integer("number"), 1);
  EXPECT_EQ(content->items("items")[0].text("word"), "a");
  EXPECT_EQ(content->items("items")[1].integer("number"), -2);
}

class GeneratedContentViolation : public testing::TestWithParam<const char*> {};

TEST_P(GeneratedContentViolation, MakesTheWholeAnswerAbsent) {
  EXPECT_FALSE(decode(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(NotJson, GeneratedContentViolation,
                         testing::Values("", " ", "none", "{", "[",
                                         R"({"zeta":"one","items":[]})"
                                         "x",
                                         "{'zeta':'one','items':[]}", "{\"zeta\":\"one\",\"items\":[],}",
                                         "{\"zeta\":\"one\"\"items\":[]}", "{\"zeta\":\"on\xFF\",\"items\":[]}",
                                         R"({"zeta":"one","items":[{"number":1,"word":"\ud800"}]})"));

INSTANTIATE_TEST_SUITE_P(OtherShapes, GeneratedContentViolation,
                         testing::Values("null", "1", "\"one\"", "true", "[]", "{}", R"([{"zeta":"one","items":[]}])",
                                         R"({"answer":{"zeta":"one","items":[]}})"));

INSTANTIATE_TEST_SUITE_P(Missing, GeneratedContentViolation,
                         testing::Values(R"({"zeta":"one"})", R"({"items":[]})", R"({"Zeta":"one","items":[]})"));

INSTANTIATE_TEST_SUITE_P(OtherTypes, GeneratedContentViolation,
                         testing::Values(R"({"zeta":1,"items":[]})", R"({"zeta":null,"items":[]})",
                                         R"({"zeta":["one"],"items":[]})", R"({"zeta":"one","items":{}})",
                                         R"({"zeta":"one","items":null})", R"({"zeta":"one","items":""})"));

INSTANTIATE_TEST_SUITE_P(UnknownChoices, GeneratedContentViolation,
                         testing::Values(R"({"zeta":"three","items":[]})", R"({"zeta":"ONE","items":[]})",
                                         R"({"zeta":"","items":[]})", R"({"zeta":"one ","items":[]})"));

class GeneratedContentItem : public testing::TestWithParam<const char*> {};

TEST_P(GeneratedContentItem, ThatDoesNotFitIsDroppedAlone) {
  const auto content = decode(R"({"zeta":"one","items":[)" + std::string(GetParam()) + R"(,{"number":7,"word":"b"}]})");
  ASSERT_TRUE(content);
  ASSERT_EQ(content->items("items").size(), 1u);
  EXPECT_EQ(content->items("items")[0].integer("number"), 7);
}

INSTANTIATE_TEST_SUITE_P(Misfits, GeneratedContentItem,
                         testing::Values("1", "null", "[]", "{}", R"({"number":1})", R"({"word":"a"})",
                                         R"({"number":1.5,"word":"a"})", R"({"number":true,"word":"a"})",
                                         R"({"number":null,"word":"a"})", R"({"number":1e300,"word":"a"})",
                                         R"({"number":18446744073709551615,"word":"a"})", R"({"number":"","word":"a"})",
                                         R"({"number":"one","word":"a"})", R"({"number":"1.5","word":"a"})",
                                         R"({"number":1,"word":2})", R"({"number":1,"word":["a"]})"));

TEST(GeneratedContent, OfTooManyItemsTheFirstOnesCount) {
  const auto content = decode(R"({"zeta":"one","items":[{"number":1,"word":"a"},{"number":"x","word":"a"},)"
                              R"({"number":2,"word":"b"},{"number":3,"word":"c"}]})");
  ASSERT_TRUE(content);
  ASSERT_EQ(content->items("items").size(), 2u);
  EXPECT_EQ(content->items("items")[1].text("word"), "b");
}

TEST(GeneratedContent, WhatIsNearlyRightIsTakenAsItIsMeant) {
  for (const char* answer : {R"({"zeta":"one","items":[{"number":"1","word":null}]})",
                             R"({"zeta":"one","items":[{"number":" 1 ","word":""}]})",
                             R"({"zeta":"one","more":[1],"items":[{"number":1,"word":"","more":{}}]})",
                             "```json\n{\"zeta\":\"one\",\"items\":[{\"number\":1,\"word\":\"\"}]}\n```",
                             "\n```\n{\"zeta\":\"one\",\"items\":[{\"number\":1,\"word\":\"\"}]}```\n",
                             "```json\n{\"zeta\":\"one\",\"items\":[{\"number\":1,\"word\":\"\"}]}"}) {
    const auto content = decode(answer);
    ASSERT_TRUE(content) << answer;
    ASSERT_EQ(content->items("items").size(), 1u) << answer;
    EXPECT_EQ(content->items("items")[0].integer("number"), 1) << answer;
    EXPECT_EQ(content->items("items")[0].text("word"), "") << answer;
  }
  for (const char* answer : {"```", "``````", "```json", "```json\n```"}) EXPECT_FALSE(decode(answer)) << answer;
}

TEST(GeneratedContent, ApostrophesBetweenLettersBecomeTypographic) {
  EXPECT_EQ(withTypographicApostrophes("Sam's mother didn't say 'no' in '99.", "Sam"),
            "Sam’s mother didn’t say 'no' in '99.");
  EXPECT_EQ(withTypographicApostrophes("Zoë's", "Zoë"), "Zoë’s");
  EXPECT_EQ(withTypographicApostrophes("D'Andre's dog and D'Andre don't", "D'Andre"),
            "D'Andre’s dog and D'Andre don’t");
  EXPECT_EQ(withTypographicApostrophes("Ma'am's A'z'Z", "Sam"), "Ma’am’s A’z’Z");
  EXPECT_EQ(withTypographicApostrophes("'", ""), "'");
  EXPECT_EQ(withTypographicApostrophes("", "'"), "");
}

TEST(GeneratedContent, TheLengthOfTextsIsNotLookedAt) {
  const std::string word(100'000, 'a');
  const auto content = decode(R"({"zeta":"one","items":[{"number":1,"word":")" + word + "\"}]}");
  ASSERT_TRUE(content);
  EXPECT_EQ(content->items("items")[0].text("word"), word);
}

TEST(GeneratedContent, AnswersOfAnySizeAreRead) {
  EXPECT_FALSE(decode(std::string(10'000'000, '[')));
  EXPECT_FALSE(decode(std::string(1'000'000, '[') + std::string(1'000'000, ']')));
  std::string deep;
  for (int i = 0; i < 500'000; ++i) deep += "{\"zeta\":";
  EXPECT_FALSE(decode(deep));
  EXPECT_FALSE(decode(std::string(10'000'000, ' ')));
  EXPECT_FALSE(decode("\"" + std::string(10'000'000, 'a') + "\""));
  std::string many = R"({"zeta":"one","items":[{"number":1,"word":"a"})";
  for (int i = 0; i < 10'000; ++i) many += R"(,{"number":1,"word":"a"})";
  ASSERT_TRUE(decode(many + "]}"));
  EXPECT_FALSE(decode(std::string("{\"zeta\":\"one\",\0\"items\":[]}", 27)));
}

TEST(GeneratedContent, EveryCutOfAnAnswerIsAbsent) {
  const std::string whole = R"({"zeta":"one","items":[{"number":12,"word":"a\u00e9\"b"}]})";
  ASSERT_TRUE(decode(whole));
  for (std::size_t length = 0; length < whole.size(); ++length) EXPECT_FALSE(decode(whole.substr(0, length))) << length;
}

}  // namespace
}  // namespace pellora
