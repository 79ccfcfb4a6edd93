#include <gtest/gtest.h>

#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/NewsRepeats.h"

namespace pellora {
namespace {

using Kind = MessagesNews::Kind;

MessagesNews news(std::string sentence, Kind kind = Kind::work) {
  return {std::move(sentence), kind, "", instantAtSeconds(0)};
}

struct Pair {
  std::string left;
  std::string right;
  bool isSame;
  std::string firstName = "Sam";
};

class NewsRepeatsTable : public testing::TestWithParam<Pair> {};

TEST_P(NewsRepeatsTable, ComparesWhatFollowsTheName) {
  const Pair& pair = GetParam();
  EXPECT_EQ(NewsRepeats::saysTheSame(news(pair.left), news(pair.right), pair.firstName), pair.isSame)
      << pair.left << " / " << pair.right;
  EXPECT_EQ(NewsRepeats::saysTheSame(news(pair.right), news(pair.left), pair.firstName), pair.isSame)
      << pair.left << " / " << pair.right;
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, NewsRepeatsTable,
    testing::Values(Pair{"Sam got promoted.", "Sam was promoted to manager.", true},
                    Pair{"Sam got promoted.", "SAM WAS PROMOTED.", true},
                    Pair{"Sam started at the bakery.", "Sam accepted an offer in Rome.", false},
                    Pair{"Sam moved to Berlin.", "Sam moved to Lisbon.", false},
                    // One direction is enough; the other has words of its own.
                    Pair{"Sam is moving.", "Sam is moving to Lisbon with two kittens.", true},
                    // The verb is no part of the name, shared or not.
                    Pair{"Sam moved up.", "Sam moved to Rome.", true},
                    // Five letters of a word are what is compared.
                    Pair{"Sam graduated.", "Sam is graduating from college.", true},
                    Pair{"Sam adopted Bella.", "Sam adopts Bello.", false},
                    // Stop words and short words carry nothing.
                    Pair{"Sam finally has a new job.", "Sam has a new job.", false},
                    Pair{"Sam got a job.", "Sam got a job at the bakery.", false},
                    Pair{"Sam got a job.", "sam GOT a job.", true}, Pair{"Sam got a job.", "Sam got a cat.", false},
                    // The name itself is never what two sentences have in common.
                    Pair{"Samuel got a job.", "Samuel ran off.", false, "Samuel"},
                    Pair{"Samuel got a job.", "Samuel ran off.", false, ""},
                    Pair{"Samuel\u2019s dad quit.", "Samuel got out.", false, "Samuel"},
                    Pair{"Sam's getting married.", "Sam is married.", true},
                    Pair{"Sam\u2019s getting married.", "Sam is getting married in June.", true},
                    Pair{"Mary Jane got a job.", "Mary Jane was let go.", false, "Mary Jane"},
                    Pair{"Mary Jane\u2019s promoted.", "Mary Jane was promoted.", true, "Mary Jane"},
                    Pair{"maria luisa got job", "maria luisa won it all", false, "maria luisa"},
                    // Capital letters alone make no name.
                    Pair{"Sam Had Surgery", "Sam Had Surgery Today", true},
                    Pair{"Sam Graduated", "Sam Graduated From College", true},
                    Pair{"Sam\u2019s Wedding", "Sam\u2019s Wedding In June", true},
                    Pair{"Sam\u2019s Boston job", "Sam\u2019s Boston job is set", true},
                    // The person had another name when this was written.
                    Pair{"Samantha was promoted.", "Sam was promoted to manager.", true}, Pair{"Sam", "Sam", true},
                    Pair{"", "", true}, Pair{"", "Sam", true}, Pair{"", "Sam was promoted.", false}));

TEST(NewsRepeats, OtherKindsAreOtherNews) {
  EXPECT_FALSE(
      NewsRepeats::saysTheSame(news("Sam is moving.", Kind::home), news("Sam is moving.", Kind::travel), "Sam"));
}

TEST(NewsRepeats, TheFirstOfSeveralStays) {
  const std::vector<MessagesNews> all = {news("Sam was promoted."), news("Sam moved to Rome.", Kind::home),
                                         news("Sam was promoted to manager."), news("Sam moved.", Kind::home),
                                         news("Sam moved to Rome.", Kind::travel)};
  const std::vector<MessagesNews> kept = {all[0], all[1], all[4]};
  EXPECT_EQ(NewsGuard::withoutRepeats(all, "Sam"), kept);
  EXPECT_EQ(NewsGuard::withoutRepeats({}, "Sam"), std::vector<MessagesNews>{});
}

}  // namespace
}  // namespace pellora
