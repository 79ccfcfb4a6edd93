// Whatever happens to store, settings, files, clock and zone, the notes after the first read of the next day are those
// of a fresh read. The random form prints the program that fails; PELLORA_HISTORY="step
// step ..." runs one again.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Tests/Support/ReadHistory.h"

namespace pellora {
namespace {

using support::ReadHistory;

struct NamedHistory {
  const char* name;
  const char* program;
  bool isHealedAtOnce;  // by the next read, not only by that of the next day
};

constexpr char kBeginning[] = R"(message anna 30000
message ben 20000
message anna 1500
message me 1400
message mail 1300
message group 1000
message ben 400
message anna 60
read
)";

constexpr NamedHistory kHistories[] = {
    {"NewestDeleted", "delete-newest\nread", true},
    {"DeletedInTheMiddle", "delete-some 3\nread", false},
    {"TextThatArrivesLater", "photo anna 500\nmessage ben 10\nread\ntext-arrives\nread", false},
    {"EditedMessages", "edit 3\nedit 5\nread", false},
    {"ZoneEast", "zone Pacific/Kiritimati\nread", true},
    {"ZoneWest", "zone Pacific/Pago_Pago\nread", true},
    {"ZoneOfTheSameHourADayApart", "zone Pacific/Kiritimati\nread\nzone Pacific/Honolulu\nread", true},
    {"ClockTwoDaysAhead", "wrong-clock 2\nread", true},
    {"ClockAMonthAhead", "wrong-clock 31\nread", true},
    {"ClockAYearAhead", "wrong-clock 400\nread", true},
    {"ClockBehind", "wrong-clock -3\nread", true},
    {"ClockFarBehind", "wrong-clock -400\nread", true},
    {"StoreWithLowerRowIds", "delete-some 1\nrenumber-store\nmessage anna 5\nread", true},
    {"OlderCopyOfTheStore", "keep-store\nmessage anna 30\nmessage ben 20\nread\nrestore-store\nread", true},
    {"OlderCopyThatGrewAgain",
     "keep-store\nmessage anna 30\nread\nrestore-store\nmessage ben 20\nmessage ben 19\nmessage ben 18\nread", true},
    {"DataFromYesterday", "keep-data\nforward 24\nmessage anna 30\nmessage ben 2000\nread\nrestore-data\nread", true},
    {"SettingsFromYesterday", "keep-settings\nforward 24\nmessage anna 30\nread\nrestore-settings\nread", true},
    {"StateLost", "delete-some 2\nlose-state\nread", true},
    {"NotesDamaged", "damage-notes\nmessage anna 20\nread", true},
    {"PersonRemoved", "swap-people\nread", true},
    {"PersonRemovedAndBack", "swap-people\nread\nmessage ben 5\nswap-people\nread", true},
    {"FiveQuietWeeks", "forward 840\nread", true},
    {"WithoutAModelForAWeek", "model on\nread\nmodel off\nforward 168\nmessage anna 40\nread\nmodel on\nread", true},
};

class NamedHistories : public testing::TestWithParam<NamedHistory> {};

TEST_P(NamedHistories, EndLikeAFreshRead) {
  ReadHistory history;
  history.run(ReadHistory::parse(kBeginning));
  ASSERT_EQ(history.differences(), std::vector<std::string>());
  history.run(ReadHistory::parse(GetParam().program));
  if (GetParam().isHealedAtOnce) EXPECT_EQ(history.differences(), std::vector<std::string>());
  EXPECT_EQ(history.differencesNextDay(), std::vector<std::string>());
  EXPECT_FALSE(history.world.notes().days.empty() && std::string(GetParam().name) != "FiveQuietWeeks");
}

INSTANTIATE_TEST_SUITE_P(All, NamedHistories, testing::ValuesIn(kHistories),
                         [](const auto& info) { return info.param.name; });

TEST(RandomHistories, EndLikeAFreshRead) {
  if (const char* given = std::getenv("PELLORA_HISTORY")) {
    ReadHistory history;
    history.run(ReadHistory::parse(given));
    EXPECT_EQ(history.differencesNextDay(), std::vector<std::string>());
    return;
  }
  const char* isLong = std::getenv("PELLORA_LONG_TESTS");
  const std::uint32_t count = isLong != nullptr && *isLong != '\0' ? 5000 : 300;
  for (std::uint32_t seed = 1; seed <= count; ++seed) {
    const ReadHistory::Program program = ReadHistory::random(seed);
    ReadHistory history;
    history.run(program);
    EXPECT_EQ(history.differencesNextDay(), std::vector<std::string>()) << "seed " << seed << ":\n"
                                                                        << ReadHistory::text(program);
    if (HasFailure()) return;
  }
}

TEST(RandomHistories, AProgramIsWrittenAndReadAsItIs) {
  const ReadHistory::Program program = ReadHistory::random(7);
  EXPECT_GT(program.size(), 10U);
  EXPECT_EQ(ReadHistory::parse(ReadHistory::text(program)), program);
}

}  // namespace
}  // namespace pellora
