#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/FoundMeetups.h"

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

}  // namespace
}  // namespace pellora
