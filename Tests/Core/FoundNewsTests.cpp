#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/FoundNews.h"

namespace pellora {
namespace {

using Kind = NewsKind;

std::string item(std::string_view kind) {
  return R"({"message":1,"what":"Sam","kind":")" + std::string(kind) + R"(","when":"now"})";
}

TEST(FoundNews, TheModelIsToldExactlyThis) {
  EXPECT_EQ(FoundNews::schema().name, "FoundNews");
  EXPECT_EQ(NewsItem::schema().name, "NewsItem");
  EXPECT_EQ(
      FoundNews::schema().jsonSchema(),
      R"({"type":"object","properties":{"news":{"type":"array","maxItems":3,"items":{"type":"object","properties":{)"
      R"("message":{"type":"integer","description":"The number of the message that says it"},)"
      R"("what":{"type":"string","maxLength":400,"description":"What happened, as a short sentence in the past or )"
      R"(present tense whose subject is their first name"},)"
      R"("kind":{"type":"string","enum":["work","home","family","school","travel","health","loss","milestone"]},)"
      R"("when":{"type":"string","maxLength":400,"description":"Words copied from that message that say when it )"
      R"(happens or happened; empty when it doesn't say"}},"required":["message","what","kind","when"],)"
      R"("additionalProperties":false},"description":"Their big news; an empty list when there is none"}},)"
      R"("required":["news"],"additionalProperties":false})");
}

TEST(FoundNews, KindsAreReadByName) {
  const std::vector<std::pair<const char*, Kind>> kinds = {
      {"work", Kind::work},     {"home", Kind::home},     {"family", Kind::family}, {"school", Kind::school},
      {"travel", Kind::travel}, {"health", Kind::health}, {"loss", Kind::loss},     {"milestone", Kind::milestone}};
  for (const auto& [name, kind] : kinds)
    EXPECT_EQ(FoundNews::fromAnswer("{\"news\":[" + item(name) + "]}").news,
              (std::vector<NewsItem>{{1, "Sam", kind, "now"}}))
        << name;
}

TEST(FoundNews, ItemsThatDoNotFitAreDroppedAlone) {
  const auto count = [](const std::string& items) {
    return FoundNews::fromAnswer("{\"news\":[" + items + "]}").news.size();
  };
  EXPECT_EQ(count(item("work") + "," + item("home") + "," + item("loss")), 3u);
  EXPECT_EQ(count(item("work") + "," + item("pets")), 1u);
  EXPECT_EQ(count(item("Work")), 0u);
  EXPECT_EQ(count(item("work") + "," + item("work") + "," + item("work") + "," + item("home")), 3u);
  EXPECT_EQ(count(R"({"message":1,"what":"Sam","when":""})"), 0u);
  EXPECT_TRUE(FoundNews::fromAnswer("[" + item("work") + "]").news.empty());
}

}  // namespace
}  // namespace pellora
