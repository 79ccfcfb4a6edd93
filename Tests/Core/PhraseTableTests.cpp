#include <gtest/gtest.h>

#include <random>
#include <string>

#include "PelloraMessagesCore/Language/GuardWords.h"
#include "PelloraMessagesCore/Text/PhraseTable.h"

namespace pellora {
namespace {

constexpr std::array<std::string_view, 4> kPhrases = {"see you", "so see", "you", "y"};

TEST(PhraseTable, TheFirstOfTheListWinsWhereverItStands) {
  const PhraseTable table(kPhrases);
  EXPECT_EQ(table.firstIn("y you so see you"), 0u);
  EXPECT_EQ(table.firstIn("so see y"), 1u);
  EXPECT_EQ(table.firstIn("xyx you"), 2u);
  EXPECT_EQ(table.firstIn("my"), 3u);
  EXPECT_EQ(table.firstIn("see yo"), 3u);
  EXPECT_EQ(table.firstIn("see"), std::nullopt);
  EXPECT_EQ(table.firstIn(""), std::nullopt);
}

TEST(PhraseTable, OnePassFindsWhatSearchingOneByOneFinds) {
  const PhraseTable table(MeetupWords::kCuePhrases);
  std::mt19937 random(11);
  const std::vector<std::string> words = {"great",  "good",   "so",    "to",   "see", "seeing", "you",
                                          "was",    "thanks", "thank", "for",  "the", "coffee", "dinner",
                                          "having", "time",   "with",  "glad", "came"};
  std::size_t found = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string text;
    for (std::size_t count = random() % 9; count-- > 0;)
      text += words[random() % words.size()] + (random() % 8 == 0 ? "" : " ");
    std::optional<std::size_t> expected;
    for (std::size_t place = 0; place < MeetupWords::kCuePhrases.size() && !expected; ++place)
      if (text.find(MeetupWords::kCuePhrases[place]) != std::string::npos) expected = place;
    ASSERT_EQ(table.firstIn(text), expected) << text;
    found += expected ? 1u : 0u;
  }
  EXPECT_GT(found, 20u);
}

TEST(PhraseTable, AWordBeginsAfterWhatIsNoPartOfAWord) {
  const PhraseTable table(kPhrases);
  for (const char* text : {"you", " you", "-you", "'you", "\u2019you", "\U0001F600you", "\u0301you", "\u00A0you"})
    EXPECT_TRUE(table.anyBeginsWord(text)) << text;
  for (const char* text : {"ayou", "_you", "9you", "\u00E9you", "e\u0301you", "a\u00ADyou", "a\u200Dyou"})
    EXPECT_FALSE(table.anyBeginsWord(text)) << text;
}

}  // namespace
}  // namespace pellora
