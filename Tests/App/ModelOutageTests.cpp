// A model server's bad hours: no question without an answer counts as one, none that was answered is
// asked again, and what needs no model does not wait for it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <set>

#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/GatedLanguageModel.h"
#include "Tests/Support/ReadHistory.h"
#include "Tests/Support/Sanitizers.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::EngineWorld;
using Asked = ScriptedLanguageModel::Asked;
using Reason = LanguageModelError::Reason;

std::string healthy(const Asked& asked) {
  if (asked.schemaName == "FoundMeetups") return R"({"meetups":[]})";
  if (asked.schemaName == "FoundNews") return R"({"news":[]})";
  const bool isAboutBen = asked.instructions.find("Ben") != std::string::npos;
  const std::string name = isAboutBen ? "Ben" : "Anna";
  return (asked.prompt.starts_with("<days>") ? "Lately you and " : "You and ") + name + " talked about the harbour.";
}

// A day with all three questions: a meetup's cue and a piece of news are in it.
constexpr char kFullDay[] = "Thanks for dinner yesterday! And I got the job at the harbour.";

class ModelOutage : public testing::Test {
 protected:
  ModelOutage() {
    _world.scripted = ScriptedLanguageModel([this](const Asked& asked) { return _script(asked); });
    _script = healthy;
  }

  // Fails the questions for which `isHit` holds.
  void failing(Reason reason, std::function<bool(const Asked&)> isHit) {
    _script = [reason, isHit](const Asked& asked) {
      if (isHit(asked)) throw LanguageModelError(reason, "answered 500 (out of memory)");
      return healthy(asked);
    };
  }
  void failingAll(Reason reason) {
    failing(reason, [](const Asked&) { return true; });
  }

  std::size_t askedBy(const std::function<void()>& act) {
    const std::size_t before = _world.scripted.asked().size();
    act();
    return _world.scripted.asked().size() - before;
  }
  std::size_t askedByReadAfter(Nanoseconds delay) {
    return askedBy([&] {
      _world.scheduler.advance(delay);
      _world.read();
    });
  }

  EngineWorld _world;
  ScriptedLanguageModel::Script _script;
};

TEST_F(ModelOutage, ErrorsOfTheServerLeaveEverythingToBeAsked) {
  failingAll(Reason::server);
  for (int day = 0; day < 5; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  EXPECT_EQ(askedByReadAfter(0s), 2U) << "the second error in a row ends the model's turn";
  for (const MessagesDayRecord& day : _world.notes().days) EXPECT_FALSE(day.meetups);
  EXPECT_EQ(_world.state()->model.waitingDays, 5);
  EXPECT_EQ(_world.state()->model.lastFailure, "answered 500 (out of memory)");
  EXPECT_EQ(_world.state()->model.nextTryAt, EngineWorld::kStart + 15min);
  EXPECT_EQ(_world.heartbeat()->status, HelperHeartbeat::Status::reading);
  EXPECT_EQ(askedByReadAfter(14min), 0U);
  EXPECT_EQ(askedByReadAfter(1min), 2U);
  for (int round = 0; round < 10; ++round) EXPECT_EQ(askedByReadAfter(15min), 2U) << "no try is used up";
  _script = healthy;
  EXPECT_EQ(askedByReadAfter(15min), 5 * 3 + 1U);
  for (const MessagesDayRecord& day : _world.notes().days) EXPECT_TRUE(day.meetups && day.summary);
  EXPECT_EQ(_world.state()->model.waitingDays, 0);
  EXPECT_FALSE(_world.state()->model.lastFailure);
  EXPECT_FALSE(_world.state()->model.nextTryAt);
  EXPECT_EQ(askedByReadAfter(15min), 0U);
}

TEST_F(ModelOutage, ATimeOutEndsTheTurnAtOnce) {
  failingAll(Reason::timeOut);
  for (int day = 0; day < 3; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  EXPECT_EQ(askedByReadAfter(0s), 1U);
  EXPECT_EQ(_world.lately(_world.anna.id)->dayCount, 3) << "what needs no model is there";
  // The day that timed out goes behind the others.
  _script = healthy;
  EXPECT_EQ(askedByReadAfter(15min), 3 * 3 + 1U);
}

TEST_F(ModelOutage, OneErrorAmongAnswersEndsNothing) {
  failing(Reason::server, [](const Asked& asked) { return asked.schemaName == "FoundNews"; });
  for (int day = 0; day < 3; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  EXPECT_EQ(askedByReadAfter(0s), 3 * 3 + 1U) << "sentence, news and meetups of each day, and the lately summary";
  for (const MessagesDayRecord& day : _world.notes().days) {
    EXPECT_TRUE(day.summary);
    EXPECT_FALSE(day.meetups);
  }
  EXPECT_TRUE(_world.lately(_world.anna.id)->summary);
  _script = healthy;
  EXPECT_EQ(askedByReadAfter(15min), 3U) << "only the news again";
  for (const MessagesDayRecord& day : _world.notes().days) EXPECT_TRUE(day.meetups);
}

TEST_F(ModelOutage, AQuestionThatAlwaysFailsIsAskedAgainThreeTimesAndThenLetBe) {
  failing(Reason::question, [](const Asked& asked) { return asked.schemaName == "FoundMeetups"; });
  _world.fromAnna(1h, kFullDay);
  EXPECT_EQ(askedByReadAfter(0s), 3U);
  EXPECT_EQ(askedByReadAfter(14min), 0U);
  EXPECT_EQ(askedByReadAfter(1min), 1U);
  EXPECT_EQ(askedByReadAfter(59min), 0U);
  EXPECT_EQ(askedByReadAfter(1min), 1U);
  EXPECT_FALSE(_world.notes().days[0].meetups);
  EXPECT_EQ(askedByReadAfter(23h), 0U);
  EXPECT_EQ(askedByReadAfter(1h), 1U);
  EXPECT_EQ(_world.notes().days[0].meetups, std::vector<MessagesMeetup>());
  EXPECT_TRUE(_world.notes().days[0].summary);
  EXPECT_EQ(_world.state()->model.waitingDays, 0);
  EXPECT_EQ(askedByReadAfter(48h), 0U);
}

TEST_F(ModelOutage, AFailureOfTheServerIsFollowedUpSoonHoweverManyTriesAreUsed) {
  failing(Reason::question, [](const Asked& asked) { return asked.schemaName == "FoundMeetups"; });
  _world.fromAnna(1h, kFullDay);
  _world.read();
  EXPECT_EQ(askedByReadAfter(15min), 1U);
  EXPECT_EQ(askedByReadAfter(1h), 1U);
  failingAll(Reason::server);
  EXPECT_EQ(askedByReadAfter(24h), 1U);
  EXPECT_EQ(_world.state()->waiting.at(0).triesUsed, 3);
  _script = healthy;
  EXPECT_EQ(askedByReadAfter(15min), 1U) << "not only after another day";
  EXPECT_TRUE(_world.notes().days[0].meetups);
}

TEST_F(ModelOutage, ADayThatChangesHasItsTriesBack) {
  failing(Reason::question, [](const Asked& asked) { return asked.schemaName == "FoundMeetups"; });
  _world.fromAnna(1h, kFullDay);
  _world.read();
  EXPECT_EQ(_world.state()->waiting.at(0).triesUsed, 1);
  _world.fromAnna(30min, "and the fish was good");
  EXPECT_EQ(askedByReadAfter(0s), 3U);
  EXPECT_EQ(_world.state()->waiting.at(0).triesUsed, 1);
}

TEST_F(ModelOutage, AnAnswerThatCannotBeReadIsNone) {
  _script = [](const Asked& asked) { return asked.schemaName.empty() ? healthy(asked) : "no JSON"; };
  _world.fromAnna(1h, kFullDay);
  _world.read();
  EXPECT_FALSE(_world.notes().days[0].meetups);
  EXPECT_EQ(_world.state()->waiting.at(0).triesUsed, 1);
}

TEST_F(ModelOutage, TheRunningHelperAsksAgainByItselfWhenTheTimeHasCome) {
  failingAll(Reason::server);
  _world.fromAnna(1h, kFullDay);
  const auto engine = _world.makeEngine();
  engine->start();
  _script = healthy;
  _world.scheduler.advance(15min);
  EXPECT_TRUE(_world.notes().days[0].meetups);
  EXPECT_EQ(engine->state().kind, HelperEngineState::Kind::idle);
}

TEST_F(ModelOutage, CountsWhatTheQuestionsCost) {
  for (int day = 0; day < 3; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  _world.read();
  ModelUse expected;
  expected.questions = 3 * 3 + 1;
  expected.days = 3;
  EXPECT_EQ(_world.state()->model.lastRead, expected);
  EXPECT_EQ(_world.state()->model.total, expected);
  _world.fromAnna(30min, "and the fish was good");
  _world.read();
  EXPECT_EQ(_world.state()->model.lastRead.questions, 3) << "the lately question is about the same sentences";
  EXPECT_EQ(_world.state()->model.total.questions, 3 * 3 + 1 + 3);
  _world.read();
  EXPECT_EQ(_world.state()->model.lastRead.questions, 3) << "of the last read that asked anything";
}

TEST_F(ModelOutage, LatelySummariesOutliveTheModelAndTheProcess) {
  for (int day = 0; day < 2; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  _world.read();
  const auto summary = _world.lately(_world.anna.id)->summary;
  ASSERT_TRUE(summary);
  _world.scripted.setAvailable(false);
  _world.read();
  EXPECT_EQ(_world.lately(_world.anna.id)->summary, summary);
  std::filesystem::remove(_world.shared / "Helper/state.json");
  _world.read();
  EXPECT_EQ(_world.lately(_world.anna.id)->summary, summary) << "the record itself remembers";
  _world.scripted.setAvailable(true);
  EXPECT_EQ(askedByReadAfter(0s), 0U);
  _world.scripted.setAvailable(false);
  _world.toAnna(10min, "more of today");
  _world.read();
  EXPECT_EQ(_world.lately(_world.anna.id)->summary, std::nullopt) << "today's sentence went, so the days are others";
}

TEST_F(ModelOutage, FilesAreWrittenBeforeTheFirstQuestion) {
  support::GatedLanguageModel slow;
  EngineWorld world(&slow);
  for (int day = 0; day < 3; ++day) world.fromAnna(1h + day * 24h, kFullDay);
  world.store->addMessage(world.benChat, EngineWorld::kStart - 2h, true, "See https://example.org/");
  const auto engine = world.makeEngine();
  engine->start();
  ASSERT_EQ(slow.waiting(), 1U);
  EXPECT_EQ(world.notes().days.size(), 4U);
  EXPECT_EQ(world.lately(world.anna.id)->dayCount, 3);
  EXPECT_EQ(world.lately(world.ben.id)->sentLinks.size(), 1U);
  EXPECT_EQ(world.state()->progress->daysTotal, 4);
  slow.answerOne();
  EXPECT_EQ(world.state()->progress->daysDone, 0) << "the first day has more questions";
  slow.answerAll();
}

TEST_F(ModelOutage, APersonsRecordFollowsTheirNewestDay) {
  // Each answer takes three seconds.
  _script = [this](const Asked& asked) {
    _world.scheduler.advance(3s);
    if (asked.prompt.find("older") != std::string::npos)
      EXPECT_EQ(_world.notes().days.back().summary, "You and Anna talked about the harbour.");
    return healthy(asked);
  };
  _world.fromAnna(50h, "an older day");
  _world.fromAnna(1h, "a newer day");
  _world.read();
  EXPECT_EQ(_world.scripted.asked().size(), 3U);
}

TEST_F(ModelOutage, LongWorkGivesWayToARead) {
  support::GatedLanguageModel slow;
  EngineWorld world(&slow);
  for (int day = 0; day < 4; ++day) world.fromAnna(1h + day * 24h, "a day at the harbour");
  const auto engine = world.makeEngine();
  engine->start();
  world.store->addMessage(world.benChat, EngineWorld::kStart - 1min, true, "and something new");
  engine->requestRead();
  slow.answerOne();
  EXPECT_TRUE(world.lately(world.ben.id)) << "after the day at hand";
  EXPECT_EQ(engine->daysToAnalyze(), 4) << "three of Anna's and the new one";
  slow.answerAll();
  EXPECT_EQ(engine->state().kind, HelperEngineState::Kind::idle);
  for (const MessagesDayRecord& day : world.notes().days) EXPECT_TRUE(day.meetups);
}

TEST_F(ModelOutage, RereadingTheStoreAsksNothingAndRereadingTheLanguageAsksEverything) {
  for (int day = 0; day < 3; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  _world.read();
  _world.store->execute("UPDATE message SET is_from_me = 1 WHERE ROWID = 3");
  HelperState::requestReread(_world.key, _world.shared, HelperState::Reread::store);
  EXPECT_EQ(askedByReadAfter(0s), 2U) << "the one day that changed, whose news would now be the user's own";
  EXPECT_FALSE(HelperState::requestedReread(_world.key, _world.shared));
  HelperState::requestReread(_world.key, _world.shared, HelperState::Reread::language);
  _script = [](const Asked& asked) -> std::string {
    if (asked.schemaName.empty() && !asked.prompt.starts_with("<days>")) return "You and Anna talked about ships.";
    return healthy(asked);
  };
  EXPECT_GE(askedByReadAfter(0s), 7U);
  for (const MessagesDayRecord& day : _world.notes().days) EXPECT_EQ(day.summary, "You and Anna talked about ships.");
  EXPECT_EQ(askedByReadAfter(0s), 0U);
}

TEST_F(ModelOutage, ARereadThatGetsNoAnswersKeepsWhatWasFound) {
  for (int day = 0; day < 2; ++day) _world.fromAnna(1h + day * 24h, kFullDay);
  _world.read();
  const HelperDayNotes before = _world.notes();
  HelperState::requestReread(_world.key, _world.shared, HelperState::Reread::language);
  failingAll(Reason::timeOut);
  EXPECT_EQ(askedByReadAfter(0s), 1U);
  EXPECT_EQ(_world.notes(), before);
  EXPECT_EQ(_world.state()->model.waitingDays, 2);
  _script = healthy;
  EXPECT_EQ(askedByReadAfter(15min), 2 * 3 + 1U);
}

// A model that has bad hours of every kind, and the account of what it was asked.
class UnsteadyModel {
 public:
  explicit UnsteadyModel(std::uint32_t seed) : _random(seed) {}

  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(_random() % bound); }

  // From now on every question is answered.
  void recover() { _isSteady = true; }

  std::string answer(const Asked& asked) {
    ++_questions;
    switch (_isSteady ? 11 : below(12)) {
      case 0:
        throw LanguageModelError(Reason::timeOut, "gave no answer within 300 seconds");
      case 1:
        throw LanguageModelError(Reason::question, "answered 400");
      case 2:
        if (!asked.schemaName.empty()) return "There is none.";  // of another form: no answer
        break;
      case 3:
      case 4:
      case 5:
        throw LanguageModelError(Reason::server, "answered 503");
      default:
        break;
    }
    // The lately question of earlier days may come back when a day after them had its sentence for a while.
    if (!asked.prompt.starts_with("<days>")) ++_answered[asked.schemaName + asked.instructions + asked.prompt];
    return healthy(asked);
  }

  std::int64_t questions() const { return _questions; }

  // The questions that were asked again although they had an answer.
  std::vector<std::string> repeated() const {
    std::vector<std::string> found;
    for (const auto& [question, count] : _answered)
      if (count > 1) found.push_back(question);
    return found;
  }

 private:
  std::minstd_rand _random;
  std::map<std::string, int> _answered;
  std::int64_t _questions = 0;
  bool _isSteady = false;
};

// A virtual week with messages coming in, a model that goes and comes back, and helpers that restart.
void liveThroughAWeek(EngineWorld& world, UnsteadyModel& model) {
  for (int day = 0; day < 20; ++day) world.fromAnna(2h + day * 24h, kFullDay + std::to_string(day));
  auto engine = world.makeEngine();
  engine->start();
  for (int hour = 0; hour < 24 * 7; ++hour) {
    world.scripted.setAvailable(model.below(4) != 0);
    if (model.below(9) == 0)
      world.store->addMessage(world.benChat, world.scheduler.now(), false, kFullDay + std::to_string(hour));
    if (model.below(12) == 0) {
      engine = world.makeEngine();
      engine->start();
    }
    world.scheduler.advance(1h);
  }
  world.scripted.setAvailable(true);
  model.recover();
  world.scheduler.advance(25h);  // the longest wait before a question is asked again, and a read
}

TEST_F(ModelOutage, AfterAWeekOfBadHoursEveryDayIsAnalyzedAndNothingWasAskedTwice) {
  const char* const isLong = std::getenv("PELLORA_LONG_TESTS");
  const std::uint32_t weeks = isLong != nullptr && *isLong != '\0' ? 200 : support::kUnderSanitizers ? 1 : 3;
  for (std::uint32_t seed = 1; seed <= weeks && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const support::FilesInMemory inMemory;
    EngineWorld world;
    UnsteadyModel model(seed);
    world.scripted = ScriptedLanguageModel([&](const Asked& asked) { return model.answer(asked); });
    liveThroughAWeek(world, model);
    EXPECT_GT(world.notes().days.size(), 20U);
    for (const MessagesDayRecord& day : world.notes().days) EXPECT_TRUE(day.meetups) << day.id();
    EXPECT_EQ(world.state()->model.waitingDays, 0);
    EXPECT_EQ(world.state()->model.total.questions, model.questions());
    EXPECT_THAT(model.repeated(), testing::IsEmpty());
  }
}

}  // namespace
}  // namespace pellora
