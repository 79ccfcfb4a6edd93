#include <gtest/gtest.h>

#include "Pellora_for_Messages/Engine/HelperEngineState.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using Kind = HelperEngineState::Kind;

constexpr Instant kNow = instantAtSeconds(1'773'144'000);  // 2026-03-10 12:00 UTC

std::string line(Kind kind, std::optional<Instant> lastReadAt) {
  return statusLine({kind, "secret reason"}, lastReadAt, kNow, LocalCalendar::inTimeZone("UTC"));
}

TEST(StatusLine, HasOneTextForEveryState) {
  EXPECT_EQ(line(Kind::starting, kNow), "Starting…");
  EXPECT_EQ(line(Kind::needsFullDiskAccess, kNow), "Waiting for Full Disk Access");
  EXPECT_EQ(line(Kind::waitingForPellora, kNow), "Waiting for Pellora");
  EXPECT_EQ(line(Kind::reading, kNow), "Reading Messages…");
  EXPECT_EQ(line(Kind::failed, kNow), "Couldn't read Messages");
  EXPECT_EQ(line(Kind::idle, std::nullopt), "Connected");
}

TEST(StatusLine, TellsTheLastReadAsARelativeDate) {
  EXPECT_EQ(line(Kind::idle, kNow), "Connected · read now");
  EXPECT_EQ(line(Kind::idle, kNow - 5min), "Connected · read 5 minutes ago");
  EXPECT_EQ(line(Kind::idle, kNow - 24h), "Connected · read yesterday");
}

}  // namespace
}  // namespace pellora
