// Whatever happens to store, settings, files, people, clock and zone, notes and lately records after the first read of
// the next day are those of a fresh read; after what a read can notice by itself, those of the next read are. Through
// the engine in virtual time, and through the shipped program. The random form prints the program that fails;
// PELLORA_HISTORY="step
// step ..." runs one again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "Tests/Support/ReadHistory.h"
#include "Tests/Support/Sanitizers.h"

namespace pellora {
namespace {

using support::EngineStage;
using support::HistoryStage;
using support::ReadHistory;
using Steps = ReadHistory::Steps;

enum class Stage { engine, programs };

std::unique_ptr<HistoryStage> make(Stage stage) {
#ifdef PELLORA_SHOWN_CLOCK
  if (stage == Stage::programs) return std::make_unique<support::ProgramStage>(PELLORA_HELPER, PELLORA_SHOWN_CLOCK);
#endif
  return stage == Stage::engine ? std::make_unique<EngineStage>() : nullptr;
}

struct NamedHistory {
  const char* name;
  const char* program;
  bool isHealedAtOnce;  // by the next read, not only by that of the next day
};

void PrintTo(const NamedHistory& history, std::ostream* out) {
  *out << history.name;
}

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
    {"NewestDeleted", "delete-newest", true},
    {"DeletedInTheMiddle", "delete-some 3\nread", false},
    {"WholeChatDeleted", "delete-chat anna\nread", false},
    {"TextThatArrivesLater", "photo anna 500\nmessage ben 10\nread\ntext-arrives\nread", false},
    {"EditedMessages", "edit 3\nedit 5\nread", false},
    {"UnsentMessages", "unsend 3\nunsend 5\nread", false},
    {"OtherDates", "shift-dates 3\nread", false},
    {"MovedToAnotherChat", "move-to ben\nread", false},
    {"ChatJoinedLater", "leave-chats 4\nread\njoin-chats\nread", false},
    {"AnotherHandleInTheSameRow", "swap-handles\nread", false},
    {"AGroupForms", "group-forms anna\nread", false},
    {"AGroupDissolves", "group-dissolves\nread", false},
    {"ZoneEast", "zone Pacific/Kiritimati", true},
    {"ZoneWest", "zone Pacific/Pago_Pago", true},
    {"ZoneOfTheSameHourADayApart", "zone Pacific/Kiritimati\nread\nzone Pacific/Honolulu", true},
    {"ClocksGoForward", "zone Europe/Berlin\nread\nforward-days 20\nmessage anna 700\nread\nmessage anna 5", true},
    {"ClockTwoDaysAhead", "wrong-clock 2", true},
    {"ClockAMonthAhead", "wrong-clock 31", true},
    {"ClockAYearAhead", "wrong-clock 400", true},
    {"ClockBehind", "wrong-clock -3", true},
    {"ClockFarBehind", "wrong-clock -400", true},
    {"ClockAheadForAWhile", "clock 200\nread\nmessage anna 3\nread\nmessage ben 2\nread", true},
    {"StoreWithLowerRowIds", "delete-some 1\nrenumber-store\nmessage anna 5", true},
    {"StoreWithHigherRowIds", "raise-rows\nmessage anna 5", true},
    {"OlderCopyOfTheStore", "keep-store\nmessage anna 30\nmessage ben 20\nread\nrestore-store", true},
    {"OlderCopyThatGrewAgain",
     "keep-store\nmessage anna 30\nread\nrestore-store\nmessage ben 20\nmessage ben 19\nmessage ben 18", true},
    {"DataFromYesterday", "keep data\nforward 24\nmessage anna 30\nmessage ben 2000\nread\nrestore data", true},
    {"SettingsFromYesterday", "keep settings\nforward 24\nmessage anna 30\nread\nrestore settings", true},
    {"EverythingFromYesterday",
     "keep everything\nkeep settings\nforward 24\nmessage anna 30\nread\nrestore everything\nrestore settings", true},
    {"StateFromYesterday", "keep state\nforward 24\nmessage anna 30\nread\nrestore state", true},
    {"StateLost", "lose state", true},
    {"StateCutShort", "damage state", true},
    {"NotesFromYesterday", "keep notes\nforward 24\nmessage anna 30\nread\nrestore notes", true},
    {"NotesLost", "lose notes\nmessage anna 20", true},
    {"NotesDamaged", "damage notes\nmessage anna 20", true},
    {"SettingsLost", "lose settings", true},
    {"RecordsLost", "lose lately", true},
    {"RecordsFromYesterday", "keep lately\nforward 24\nmessage anna 30\nread\nrestore lately", true},
    {"NotesThatCannotBeWritten", "message anna 20\nobstruct notes\nread", true},
    {"RecordsThatCannotBeWritten", "message anna 20\nobstruct lately\nread", true},
    {"StateThatCannotBeWritten", "message anna 20\nobstruct state\nread", true},
    {"PersonRemoved", "swap-people", true},
    {"PersonRemovedAndBack", "swap-people\nread\nmessage ben 5\nswap-people", true},
    {"PersonAdded", "message stranger 3000\nread\nadd-person", true},
    {"PersonRenamed", "rename", true},
    {"NumbersChangeHands", "move-handle", true},
    {"PeopleFromYesterday", "keep people\nadd-person\nrename\nread\nrestore people", true},
    {"FiveQuietWeeks", "forward 840", true},
    {"WithoutAModelForAWeek", "model on\nread\nmodel off\nforward 168\nmessage anna 40\nread\nmodel on", true},
};

// More rows than the portions in which a store is read.
constexpr NamedHistory kLargeHistories[] = {
    {"ManyNewRows", "burst anna 12000", true},
    {"ManyRowsOfAGroupBeforeTheNewest", "burst group 50000\nmessage anna 3\nmessage anna 2", true},
    {"ManyRowsInTheWindow", "burst anna 60000\nlose settings", true},
    {"ManyPhotosWithoutText", "photos 5000\nmessage anna 3", true},
};

class NamedHistories : public testing::TestWithParam<std::tuple<Stage, NamedHistory>> {};

TEST_P(NamedHistories, EndLikeAFreshRead) {
  const auto& [kind, named] = GetParam();
  auto stage = make(kind);
  if (!stage) GTEST_SKIP() << "a clock cannot be shown to programs under the sanitizers";
  ReadHistory history(std::move(stage));
  history.run(ReadHistory::parse(kBeginning));
  ASSERT_EQ(history.differences(), std::vector<std::string>());
  history.run(ReadHistory::parse(named.program));
  if (named.isHealedAtOnce) EXPECT_EQ(history.differencesAtOnce(), std::vector<std::string>());
  EXPECT_EQ(history.differencesNextDay(), std::vector<std::string>());
  EXPECT_FALSE(history.stage().records().days.empty() && std::string(named.name) != "FiveQuietWeeks");
}

INSTANTIATE_TEST_SUITE_P(All, NamedHistories,
                         testing::Combine(testing::Values(Stage::engine, Stage::programs),
                                          testing::ValuesIn(kHistories)),
                         [](const auto& info) {
                           const bool isEngine = std::get<0>(info.param) == Stage::engine;
                           return std::string(isEngine ? "Engine" : "Programs") + std::get<1>(info.param).name;
                         });

INSTANTIATE_TEST_SUITE_P(Large, NamedHistories,
                         testing::Combine(testing::Values(Stage::programs), testing::ValuesIn(kLargeHistories)),
                         [](const auto& info) { return std::get<1>(info.param).name; });

// 5,000 in the long form.
std::uint32_t rounds(std::uint32_t count) {
  const char* value = std::getenv("PELLORA_LONG_TESTS");
  if (value != nullptr && *value != '\0') return 5000;
  return support::kUnderSanitizers ? count / 10 : count;
}

// Rounds of the built programs take longer.
std::uint32_t programRounds() {
  return rounds(100) / 10;
}

void check(ReadHistory& history, Steps steps) {
  if (steps == Steps::healedAtOnce) EXPECT_EQ(history.differencesAtOnce(), std::vector<std::string>());
  EXPECT_EQ(history.differencesNextDay(), std::vector<std::string>());
}

void runRandom(Stage kind, std::uint32_t count, Steps steps) {
  if (!make(kind)) GTEST_SKIP() << "a clock cannot be shown to programs under the sanitizers";
  if (const char* given = std::getenv("PELLORA_HISTORY")) {
    ReadHistory history(make(kind));
    history.run(ReadHistory::parse(given));
    return check(history, steps);
  }
  for (std::uint32_t seed = 1; seed <= count; ++seed) {
    const ReadHistory::Program program = ReadHistory::random(seed, steps);
    ReadHistory history(make(kind));
    history.run(program);
    check(history, steps);
    if (testing::Test::HasFailure()) FAIL() << "seed " << seed << ":\n" << ReadHistory::text(program);
  }
}

TEST(RandomHistories, EndLikeAFreshReadOnTheNextDay) {
  runRandom(Stage::engine, rounds(150), Steps::any);
}

TEST(RandomHistories, EndLikeAFreshReadAtOnceAfterWhatAReadCanNotice) {
  runRandom(Stage::engine, rounds(150), Steps::healedAtOnce);
}

TEST(RandomHistories, OfProgramsEndLikeAFreshReadOnTheNextDay) {
  runRandom(Stage::programs, programRounds(), Steps::any);
}

TEST(RandomHistories, OfProgramsEndLikeAFreshReadAtOnceAfterWhatAReadCanNotice) {
  runRandom(Stage::programs, programRounds(), Steps::healedAtOnce);
}

TEST(RandomHistories, AProgramIsWrittenAndReadAsItIs) {
  const ReadHistory::Program program = ReadHistory::random(7);
  EXPECT_GT(program.size(), 10U);
  EXPECT_EQ(ReadHistory::parse(ReadHistory::text(program)), program);
}

}  // namespace
}  // namespace pellora
