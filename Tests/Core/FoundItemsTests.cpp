#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/FoundItems.h"

namespace pellora {

namespace {

TEST(FoundMeetups, TheModelIsToldExactlyThis) {
  EXPECT_EQ(FoundMeetups::schema().name, "FoundMeetups");
  EXPECT_EQ(MeetupItem::schema().name, "MeetupItem");
  EXPECT_EQ(
      FoundMeetups::schema().jsonSchema(),
      R"({"type":"object","properties":{"meetups":{"type":"array","maxItems":2,"items":{"type":"object","properties":{)"
      R"("message":{"type":"integer","description":"The number of the message that says it"},)"
      R"("what":{"type":"string","maxLength":400,"description":"Where you were together or what you did, as a few )"
      R"(words copied from that message; empty when it doesn't say"},)"
      R"("when":{"type":"string","maxLength":400,"description":"Words copied from that message that say when it was; )"
      R"(empty when it doesn't say"}},"required":["message","what","when"],"additionalProperties":false},)"
      R"("description":"Times you were together in person; an empty list when there are none"}},)"
      R"("required":["meetups"],"additionalProperties":false})");
}

TEST(FoundMeetups, ReadsItems) {
  EXPECT_EQ(FoundMeetups::fromAnswer(
                R"({"meetups":[{"message":3,"what":"dinner","when":""},{"message":1,"what":"","when":"today"}]})")
                .meetups,
            (std::vector<MeetupItem>{{3, "dinner", ""}, {1, "", "today"}}));
  EXPECT_TRUE(FoundMeetups::fromAnswer(R"({"meetups":[]})").meetups.empty());
}

TEST(FoundMeetups, ItemsThatDoNotFitAreDroppedAloneAndTwoCount) {
  for (const char* answer : {"", "none", R"({"news":[]})", R"({"meetups":[{"message":1,"what":"dinner"}]})"})
    EXPECT_TRUE(FoundMeetups::fromAnswer(answer).meetups.empty()) << answer;
  EXPECT_EQ(FoundMeetups::fromAnswer(
                R"({"meetups":[{"message":"x","what":"a","when":""},{"message":"2","what":"","when":null}]})")
                .meetups,
            (std::vector<MeetupItem>{{2, "", ""}}));
  EXPECT_EQ(
      FoundMeetups::fromAnswer(R"({"meetups":[{"message":1,"what":"","when":""},{"message":2,"what":"","when":""},)"
                               R"({"message":3,"what":"","when":""}]})")
          .meetups,
      (std::vector<MeetupItem>{{1, "", ""}, {2, "", ""}}));
}

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
