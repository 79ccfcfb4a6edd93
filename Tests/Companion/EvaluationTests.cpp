// Judging a model: the figures of a server that knows the truth and of one that takes everything for news, the
// built-in cases, and what the guards make of true, random and empty answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "Companion/Commands/Commands.h"
#include "Companion/Evaluation/Evaluation.h"
#include "Companion/Output/CompanionFailure.h"
#include "PelloraMessagesCore/Language/FoundItems.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using support::ModelServerProcess;
using testing::HasSubstr;

TEST(EvaluationCases, AreSixHundredOfAllSorts) {
  const std::vector<EvaluationCase> cases = EvaluationCase::builtIn();
  std::map<EvaluationCase::Group, int> groups;
  std::map<MessagesNews::Kind, int> kinds;
  std::set<std::string> ids;
  std::set<std::string> meetupWords;
  std::size_t deeds = 0;
  for (const EvaluationCase& each : cases) {
    ++groups[each.group];
    ids.insert(each.id);
    for (const auto& news : each.news) ++kinds[news.kind];
    for (const auto& meetup : each.meetups) meetupWords.insert(meetup.when);
    EXPECT_EQ(each.news.empty(), each.group != EvaluationCase::Group::news) << each.id;
    EXPECT_EQ(each.meetups.empty(), each.group != EvaluationCase::Group::meetup) << each.id;
    EXPECT_EQ(each.marker.empty(), each.group != EvaluationCase::Group::injection) << each.id;
    deeds += each.deeds.size();
  }
  EXPECT_EQ(groups[EvaluationCase::Group::news], 200);
  EXPECT_EQ(groups[EvaluationCase::Group::negative], 200);
  EXPECT_EQ(groups[EvaluationCase::Group::meetup], 100);
  EXPECT_EQ(groups[EvaluationCase::Group::injection], 100);
  EXPECT_EQ(ids.size(), cases.size());
  EXPECT_EQ(kinds.size(), kNewsKindNames.size());
  for (const auto& [kind, count] : kinds) EXPECT_EQ(count, 25);
  EXPECT_EQ(deeds, 217U) << "the news, and what the user did";
  EXPECT_GE(meetupWords.size(), 18U) << "every rule for days";
}

TEST(EvaluationCases, LineThatIsNotACaseIsNamed) {
  EXPECT_TRUE(EvaluationCase::parseAll("\n \n").empty());
  for (const char* text : {"{}", "no", R"({"group":"news","name":"A","date":"2026-01-05","lines":[]})",
                           R"({"group":"other","name":"A","date":"2026-01-05","lines":[["me","hi"]]})",
                           R"({"group":"news","name":"A","date":"yesterday","lines":[["me","hi"]]})",
                           R"({"group":"news","name":"A","date":"2026-01-05","lines":[["me"]]})"}) {
    try {
      EvaluationCase::parseAll("\n" + std::string(text));
      ADD_FAILURE() << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), "Line 2 is not a case.");
    }
  }
}

TEST(EvaluationShare, BoundIsWilsons) {
  EXPECT_NEAR((Share{200, 200}).lowerBound(), 0.9811, 0.0001);
  EXPECT_NEAR((Share{95, 100}).lowerBound(), 0.8882, 0.0001);
  EXPECT_NEAR((Share{0, 10}).lowerBound(), 0, 0.0001);
  EXPECT_EQ(Share().lowerBound(), 0);
}

TEST(EvaluationDoers, AreTheLastOnesNamedBeforeTheDeed) {
  struct Row {
    const char* sentence;
    Doer doer;
  };
  for (const Row& row : {
           Row{"You and Sam talked, and Sam got the job at the museum.", Doer::person},
           Row{"You and Sam talked about Sam’s new job at the museum.", Doer::person},
           Row{"You and Sam talked about her new museum job.", Doer::person},
           Row{"You and Sam talked about how she got a job at the museum.", Doer::person},
           Row{"You and Sam talked after you congratulated Sam on getting the museum job.", Doer::person},
           Row{"You and Sam caught up, and Sam told you about getting the museum job.", Doer::person},
           Row{"You and Sam talked, and you got the job at the museum.", Doer::user},
           Row{"You and Sam talked about your new job at the museum.", Doer::user},
           Row{"You and Sam talked, and you told Sam about the museum job.", Doer::user},
           Row{"You and Sam got the job at the museum.", Doer::both},
           Row{"You and Sam talked, and you and Sam both got jobs at the museum.", Doer::both},
           Row{"You and Sam talked about the job at the museum.", Doer::nobody},
           Row{"You and Sam talked about bread.", Doer::nobody},
           Row{"You and Sam", Doer::nobody},
           Row{"", Doer::nobody},
       })
    EXPECT_EQ(doerOf(row.sentence, "Sam got the job at the museum.", "Sam"), row.doer) << row.sentence;
  EXPECT_EQ(doerOf("You and Sam went to the museum.", "Sam opened a museum in Leipzig.", "Sam"), Doer::nobody)
      << "one word in common tells no deed";
}

TEST(Evaluation, GuardsKeepNearlyAllTrueAnswersAndNoneOfEmptyOnes) {
  const std::vector<EvaluationCase> cases = EvaluationCase::builtIn();
  const EvaluationFigures ceiling = Evaluation::ceiling(cases);
  EXPECT_EQ(ceiling.newsPrecision.value(), 1);
  EXPECT_GE(ceiling.newsRecall.value(), 0.85);
  EXPECT_EQ(ceiling.kindAccuracy.value(), 1);
  EXPECT_GE(ceiling.meetupRecall.value(), 0.95);
  EXPECT_EQ(ceiling.dayAccuracy.value(), 1);
  EXPECT_EQ(ceiling.sentences.value(), 1);
  EXPECT_EQ(ceiling.attributions.value(), 1);
  EXPECT_GE(ceiling.attributions.all, 200);
  EXPECT_EQ(ceiling.injections, 0);
  EXPECT_TRUE(ceiling.isGoodEnough());
  const EvaluationFigures random = Evaluation::randomFloor(cases);
  EXPECT_FALSE(random.isGoodEnough());
  EXPECT_FALSE(random.rejections.empty());
  const EvaluationFigures empty = Evaluation::emptyFloor(cases);
  EXPECT_EQ(empty.newsRecall.hits + empty.sentences.hits + empty.injections, 0);
  EXPECT_FALSE(empty.isGoodEnough());
}

class EvaluateCommand : public testing::Test {
 protected:
  EvaluateCommand() {
    std::ofstream file(_folder / "cases.jsonl");
    for (int place = 0; place < 600; place += kStep) file << line(place) << '\n';
  }

  static constexpr int kStep = 5;  // every fifth of the built-in cases

  static std::string line(int place) {
    static const std::vector<std::string> lines = [] {
      std::vector<std::string> read;
      std::ifstream all(PELLORA_EVALUATION_CASES);
      for (std::string each; std::getline(all, each);) read.push_back(each);
      return read;
    }();
    return lines.at(static_cast<std::size_t>(place));
  }

  CommandResult judge(const QStringList& options, int repeats = 1) {
    const std::string cases = (_folder / "cases.jsonl").string();
    ModelServerProcess server(ModelServerProcess::Transport::unixSocket,
                              QStringList{QStringLiteral("--cases"), QString::fromStdString(cases)} + options);
    _environment.set("PELLORA_MODEL_URL", server.url());
    _environment.unset("PELLORA_MODEL");
    ModelEvaluateCommand command;
    command.casesFile = cases;
    command.repeats = repeats;
    command.json = true;
    return command.run(_world.context());
  }

  support::CompanionWorld _world;
  support::TemporaryFolder _folder;
  support::ScopedEnvironment _environment;
};

TEST_F(EvaluateCommand, ServerThatKnowsTheTruthReachesTheCeiling) {
  const std::vector<EvaluationCase> cases = [] {
    std::string text;
    for (int place = 0; place < 600; place += kStep) text += line(place) + "\n";
    return EvaluationCase::parseAll(text);
  }();
  const EvaluationFigures ceiling = Evaluation::ceiling(cases);
  const CommandResult result = judge({QStringLiteral("--manner"), QStringLiteral("perfect")}, 2);
  const JsonValue figures = JsonValue::parse(result.output).value_or(JsonValue());
  EXPECT_EQ(figures["newsPrecision"]["share"].number(), 1);
  EXPECT_EQ(figures["newsPrecision"]["hits"].integer(), ceiling.newsPrecision.hits * 2);
  EXPECT_EQ(figures["newsRecall"]["share"].number(), ceiling.newsRecall.value());
  EXPECT_EQ(figures["dayAccuracy"]["share"].number(), 1);
  EXPECT_EQ(figures["attributions"]["share"].number(), 1);
  EXPECT_GE(figures["attributions"]["all"].integer().value_or(0), 80);
  EXPECT_EQ(figures["agreement"]["hits"].integer(), 120);
  EXPECT_EQ(figures["agreement"]["all"].integer(), 120);
  EXPECT_EQ(figures["injections"].integer(), 0);
  EXPECT_EQ(figures["invalid"].integer(), 0);
  EXPECT_EQ(figures["goodEnough"].boolean(), ceiling.newsPrecision.hits * 2 >= 73) << "a bound wants enough items";
}

TEST_F(EvaluateCommand, ServerThatTakesEverythingForNewsIsNotGoodEnough) {
  const CommandResult result = judge({QStringLiteral("--manner"), QStringLiteral("bad")});
  const JsonValue figures = JsonValue::parse(result.output).value_or(JsonValue());
  EXPECT_THAT(result.complaint, HasSubstr("is not good enough"));
  EXPECT_EQ(figures["goodEnough"].boolean(), false);
  EXPECT_LT(figures["newsPrecision"]["share"].number().value_or(1), 0.9);
  EXPECT_EQ(figures["attributions"]["hits"].integer(), 0) << "everybody's news is told of both";
  EXPECT_GE(figures["attributions"]["all"].integer().value_or(0), 40);
  EXPECT_GE(figures["injections"].integer().value_or(0), 20) << "every sentence repeats its marker";
  EXPECT_FALSE(figures["rejections"].members().empty());
}

TEST_F(EvaluateCommand, CutAnswersAreCountedAndServersThatFailEndIt) {
  const CommandResult cut = judge({QStringLiteral("--finish-reason"), QStringLiteral("length")});
  const JsonValue figures = JsonValue::parse(cut.output).value_or(JsonValue());
  EXPECT_EQ(figures["invalid"].integer(), figures["questions"].integer());
  EXPECT_THROW(judge({QStringLiteral("--status"), QStringLiteral("500")}), CompanionFailure);
}

TEST_F(EvaluateCommand, WithoutAModelItTellsCeilingAndFloors) {
  ModelEvaluateCommand command;
  command.withoutModel = true;
  EXPECT_THAT(command.run(_world.context()).output, HasSubstr("True answers\nNews, precision"));
  command.json = true;
  EXPECT_TRUE(JsonValue::parse(command.run(_world.context()).output)->contains("ceiling"));
  command.casesFile = "/nowhere";
  EXPECT_THROW(command.run(_world.context()), CompanionFailure);
}

}  // namespace

}  // namespace pellora
