#include <gtest/gtest.h>

#include "PelloraMessagesCore/KnownDays.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;

MessagesDayRecord day(std::int64_t sent, std::int64_t received, Instant last) {
  MessagesDayRecord record;
  record.day = "2026-03-10";
  record.sentCount = sent;
  record.receivedCount = received;
  record.lastMessageAt = last;
  return record;
}

MessagesDayRecord analysed(MessagesDayRecord record, const std::string& summary) {
  record.summary = summary;
  record.meetups.emplace();
  return record;
}

constexpr Instant kLast = instantAtSeconds(1'773'144'000);

TEST(KnownDays, ADayIsUnchangedWhenCountsAndTheLastWholeSecondAgree) {
  const std::vector<MessagesDayRecord> stored{analysed(day(2, 3, kLast), "kept")};
  const KnownDays known(stored, {});
  EXPECT_EQ(known.reusable(day(2, 3, kLast), true), &stored[0]);
  EXPECT_EQ(known.reusable(day(2, 3, kLast + 999'999'999ns), true), &stored[0]);
  EXPECT_EQ(known.reusable(day(2, 3, kLast + 1s), true), nullptr);
  EXPECT_EQ(known.reusable(day(1, 3, kLast), true), nullptr);
  EXPECT_EQ(known.reusable(day(2, 4, kLast), true), nullptr);
  MessagesDayRecord other = day(2, 3, kLast);
  other.day = "2026-03-11";
  EXPECT_EQ(known.reusable(other, true), nullptr);
}

TEST(KnownDays, ADayNeverAnalysedIsReusedOnlyWhileThereIsNoModel) {
  const std::vector<MessagesDayRecord> stored{day(2, 3, kLast)};
  const KnownDays known(stored, {});
  EXPECT_EQ(known.reusable(day(2, 3, kLast), false), &stored[0]);
  EXPECT_EQ(known.reusable(day(2, 3, kLast), true), nullptr);
}

TEST(KnownDays, WhatAnInterruptedReadAnalysedGoesBeforeWhatWasNot) {
  const std::vector<MessagesDayRecord> stored{day(2, 3, kLast)};
  const std::vector<MessagesDayRecord> leftBehind{analysed(day(2, 3, kLast), "left behind")};
  const KnownDays known(stored, leftBehind);
  EXPECT_EQ(known.reusable(day(2, 3, kLast), true), &leftBehind[0]);
  EXPECT_EQ(known.reusable(day(2, 3, kLast), false), &leftBehind[0]);
  EXPECT_EQ(known.reusable(day(5, 3, kLast), true), nullptr);
}

}  // namespace
}  // namespace pellora
