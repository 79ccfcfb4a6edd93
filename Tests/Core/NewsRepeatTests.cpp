// Which news say the same thing and which only look as if they did.
#include <gtest/gtest.h>

#include "PelloraMessagesCore/Language/GuardWords.h"
#include "PelloraMessagesCore/NewsGuard.h"

namespace pellora::NewsGuard {
namespace {

using Kind = MessagesNews::Kind;

const Instant kSomeDay = instantAtSeconds(1'749'000'000);

struct RepeatCase {
  std::string kept;
  std::string item;
  bool isRepeat;
  std::string firstName = "Sam";
};

class NewsRepeat : public testing::TestWithParam<RepeatCase> {};

TEST_P(NewsRepeat, GoesOnlyWhenItAddsNothing) {
  const RepeatCase& each = GetParam();
  const std::vector<MessagesNews> all = {{each.kept, Kind::work, "", kSomeDay}, {each.item, Kind::work, "", kSomeDay}};
  EXPECT_EQ(withoutRepeats(all, each.firstName).size(), each.isRepeat ? 1u : 2u) << each.kept << " / " << each.item;
}

INSTANTIATE_TEST_SUITE_P(
    Same, NewsRepeat,
    testing::Values(RepeatCase{"Sam got promoted.", "Sam got promoted.", true},
                    RepeatCase{"Sam got promoted.", "SAM WAS PROMOTED!", true},
                    RepeatCase{"Sam was promoted to manager.", "Sam got promoted.", true},
                    RepeatCase{"Sam is moving to Lisbon with two kittens.", "Sam is moving.", true},
                    RepeatCase{"Sam graduated from college.", "Sam is graduating from college!", true},
                    RepeatCase{"Sam got a new job.", "Sam has a new job.", true},
                    RepeatCase{"Sam is getting married in June.", "Sam\u2019s getting married.", true},
                    RepeatCase{"Sam's dad died on Monday.", "Sam\u2019s dad has died.", true},
                    RepeatCase{"Sam isn\u2019t moving.", "Sam is not moving.", true},
                    RepeatCase{"Sam turned 30.", "Sam is turned 30", true}, RepeatCase{"Sam", "Sam", true},
                    RepeatCase{"", "", true},
                    // Letters written in other ways.
                    RepeatCase{"Sam moved to Malmo\u0308.", "Sam moved to Malm\u00F6.", true},
                    // The names that they begin with.
                    RepeatCase{"Mary Jane\u2019s promoted.", "Mary Jane was promoted.", true, "Mary Jane"},
                    RepeatCase{"Samantha was promoted.", "Sam was promoted.", true},
                    RepeatCase{"Sam Had Surgery Today", "Sam Had Surgery", true}));

INSTANTIATE_TEST_SUITE_P(
    Different, NewsRepeat,
    testing::Values(RepeatCase{"Sam's dog died.", "Sam's dad died.", false},
                    RepeatCase{"Sam moved to Berlin.", "Sam moved to Lisbon.", false},
                    RepeatCase{"Sam started at the bakery.", "Sam accepted an offer in Rome.", false},
                    RepeatCase{"Sam got a job.", "Sam got a cat.", false},
                    RepeatCase{"Sam got promoted.", "Sam was promoted to manager.", false},
                    RepeatCase{"Sam\u2019s dad has cancer.", "Sam has cancer.", false},
                    RepeatCase{"Sam has cancer.", "Sam\u2019s dad has cancer.", false},
                    RepeatCase{"Sam is 30.", "Sam is 31.", false},
                    RepeatCase{"Sam is in year 10000.", "Sam is in year 100000.", false},
                    RepeatCase{"Sam adopted Bella.", "Sam adopted Bello.", false},
                    RepeatCase{"Sam moved to Ohio.", "Sam moved to Iowa.", false},
                    RepeatCase{"Sam painted the house.", "Sam got the house.", false},
                    RepeatCase{"Sam got a job.", "Sam ran off.", false}, RepeatCase{"Sam", "Sam was promoted.", false},
                    RepeatCase{"Samuel got a job.", "Samuel ran off.", false, "Samuel"},
                    RepeatCase{"Mary Jane got a job.", "Mary Jane was let go.", false, "Mary Jane"}));

INSTANTIATE_TEST_SUITE_P(
    Opposite, NewsRepeat,
    testing::Values(RepeatCase{"Sam has cancer.", "Sam is cancer free after surgery.", false},
                    RepeatCase{"Sam is cancer free after surgery.", "Sam has cancer.", false},
                    RepeatCase{"Sam is cancer-free.", "Sam has cancer.", false},
                    RepeatCase{"Sam is engaged to Kim.", "Sam broke the engagement to Kim off.", false},
                    RepeatCase{"Sam broke the engagement to Kim off.", "Sam is in an engagement to Kim.", false},
                    RepeatCase{"Sam is not pregnant.", "Sam is pregnant.", false},
                    RepeatCase{"Sam isn't moving.", "Sam is moving.", false},
                    RepeatCase{"Sam isn\u2019t moving.", "Sam is moving.", false},
                    RepeatCase{"Sam is moving.", "Sam can't be moving.", false},
                    RepeatCase{"Sam cancelled the surgery on the cancer.", "Sam has surgery on the cancer.", false},
                    RepeatCase{"Sam lost the job.", "Sam has the job.", false},
                    RepeatCase{"Sam moved out of the flat.", "Sam moved in the flat.", false},
                    RepeatCase{"Sam moved back to Rome.", "Sam moved to Rome.", false},
                    RepeatCase{"Sam moved to Rome.", "Sam moved from Rome.", false},
                    RepeatCase{"Sam interviewed for the job.", "Sam has the job.", false}));

TEST(NewsRepeat, EveryWordThatTurnsAMeaningRoundKeepsTwoApart) {
  for (const std::string_view word : NewsWords::kTurningWords) {
    const std::vector<MessagesNews> all = {{"Sam " + std::string(word) + " job", Kind::work, "", kSomeDay},
                                           {"Sam job", Kind::work, "", kSomeDay}};
    EXPECT_EQ(withoutRepeats(all, "Sam"), all) << word;
  }
}

TEST(NewsRepeat, OtherKindsAreOtherNewsAndTheFirstStays) {
  const std::vector<MessagesNews> all = {{"Sam was promoted to manager.", Kind::work, "now", kSomeDay},
                                         {"Sam moved to Rome.", Kind::home, "", kSomeDay},
                                         {"Sam was promoted.", Kind::work, "", kSomeDay},
                                         {"Sam moved.", Kind::home, "", kSomeDay},
                                         {"Sam moved to Rome.", Kind::travel, "", kSomeDay}};
  EXPECT_EQ(withoutRepeats(all, "Sam"), (std::vector<MessagesNews>{all[0], all[1], all[4]}));
  EXPECT_EQ(withoutRepeats({}, "Sam"), std::vector<MessagesNews>{});
}

}  // namespace
}  // namespace pellora::NewsGuard
