#include <gtest/gtest.h>

#include "Pellora_for_Messages/Engine/HelperOptions.h"

namespace pellora {
namespace {

TEST(HelperOptions, ReadsEveryOption) {
  std::string problem;
  EXPECT_EQ(HelperOptions::parse({}, problem)->mode, HelperOptions::Mode::app);
  EXPECT_TRUE(HelperOptions::parse({"--background"}, problem)->background);
  EXPECT_EQ(HelperOptions::parse({"--read-once"}, problem)->mode, HelperOptions::Mode::readOnce);
  EXPECT_EQ(HelperOptions::parse({"--version"}, problem)->mode, HelperOptions::Mode::version);
  EXPECT_EQ(HelperOptions::parse({"--help", "--nonsense"}, problem)->mode, HelperOptions::Mode::help);
}

TEST(HelperOptions, SaysInOneSentenceWhatIsWrong) {
  std::string problem;
  EXPECT_FALSE(HelperOptions::parse({"--read-twice"}, problem));
  EXPECT_EQ(problem, "There is no option \"--read-twice\".");
  EXPECT_FALSE(HelperOptions::parse({"now"}, problem));
  EXPECT_EQ(problem, "There is one argument too many: \"now\".");
  EXPECT_FALSE(HelperOptions::parse({"--read-once", "--background"}, problem));
}

}  // namespace
}  // namespace pellora
