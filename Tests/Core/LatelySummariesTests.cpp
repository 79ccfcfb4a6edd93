#include <gtest/gtest.h>

#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "PelloraMessagesCore/LatelySummaries.h"
#include "Tests/Support/Awaiting.h"

namespace pellora {
namespace {

using support::awaited;
using Summary = std::optional<std::string>;

class LatelySummariesTest : public testing::Test {
 protected:
  LatelySummariesTest() {
    MessagesDayRecord first;
    first.day = "2025-06-01";
    first.summary = "You and Sam had lunch.";
    MessagesDayRecord second = first;
    second.day = "2025-06-02";
    _days = {first, second};
  }

  Summary ask() { return awaited(_summaries.summary(_model, _person, _days, "Sam")); }

  std::string _answer = "Lately you and Sam talked a lot.";
  bool _fails = false;
  ScriptedLanguageModel _model{[this](const ScriptedLanguageModel::Asked&) {
    if (_fails) throw LanguageModelError(LanguageModelError::Reason::server, "is busy");
    return _answer;
  }};
  std::vector<MessagesDayRecord> _days;
  Uuid _person = Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10").value();
  LatelySummaries _summaries;
};

TEST_F(LatelySummariesTest, TheSameQuestionIsAskedOnce) {
  EXPECT_EQ(ask(), "Lately you and Sam talked a lot.");
  _answer = "Lately you and Sam danced a lot.";
  for (int time = 0; time < 3; ++time) EXPECT_EQ(ask(), "Lately you and Sam talked a lot.") << time;
  EXPECT_EQ(_model.asked().size(), 1u);
}

TEST_F(LatelySummariesTest, AnotherQuestionIsAsked) {
  ask();
  _answer = "Lately you and Sam danced a lot.";
  _days[1].summary = "You and Sam had dinner.";
  EXPECT_EQ(ask(), "Lately you and Sam danced a lot.");
  EXPECT_EQ(_model.asked().size(), 2u);
}

TEST_F(LatelySummariesTest, TheNameIsPartOfTheQuestion) {
  ask();
  _answer = "Lately you and Samuel talked a lot.";
  EXPECT_EQ(awaited(_summaries.summary(_model, _person, _days, "Samuel")), "Lately you and Samuel talked a lot.");
  EXPECT_EQ(_model.asked().size(), 2u);
}

TEST_F(LatelySummariesTest, EveryPersonHasAnAnswerOfTheirOwn) {
  ask();
  const Uuid other = Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E11").value();
  awaited(_summaries.summary(_model, other, _days, "Sam"));
  EXPECT_EQ(_model.asked().size(), 2u);
  ask();
  EXPECT_EQ(_model.asked().size(), 2u);
}

TEST_F(LatelySummariesTest, AnAnswerThatTheGuardRejectedIsNotAskedForAgain) {
  _answer = "Sorry, no.";
  EXPECT_EQ(ask(), std::nullopt);
  _answer = "Lately you and Sam talked a lot.";
  EXPECT_EQ(ask(), std::nullopt);
  EXPECT_EQ(_model.asked().size(), 1u);
}

TEST_F(LatelySummariesTest, AQuestionWithoutAnAnswerIsAskedAgain) {
  _fails = true;
  EXPECT_EQ(ask(), std::nullopt);
  _fails = false;
  _model.setAvailable(false);
  EXPECT_EQ(ask(), std::nullopt);
  EXPECT_EQ(_model.asked().size(), 1u);
  _model.setAvailable(true);
  EXPECT_EQ(ask(), "Lately you and Sam talked a lot.");
  EXPECT_EQ(_model.asked().size(), 2u);
}

TEST_F(LatelySummariesTest, AKnownAnswerNeedsNoModel) {
  ask();
  _model.setAvailable(false);
  EXPECT_EQ(ask(), "Lately you and Sam talked a lot.");
}

TEST_F(LatelySummariesTest, OnlyTheLastAnsweredQuestionIsRemembered) {
  ask();
  const std::vector<MessagesDayRecord> before = _days;
  _days[0].summary = "You and Sam had dinner.";
  _fails = true;
  ask();
  _days = before;
  EXPECT_EQ(ask(), "Lately you and Sam talked a lot.");
  EXPECT_EQ(_model.asked().size(), 2u);
  _fails = false;
  _days[0].summary = "You and Sam had dinner.";
  ask();
  _days = before;
  ask();
  EXPECT_EQ(_model.asked().size(), 4u);
}

TEST_F(LatelySummariesTest, WhatIsNoQuestionIsNotAsked) {
  _days.pop_back();
  EXPECT_EQ(ask(), std::nullopt);
  EXPECT_TRUE(_model.asked().empty());
}

}  // namespace
}  // namespace pellora
