#include <gtest/gtest.h>

#include "Pellora_for_Messages/Window/NoticeCard.h"

namespace pellora {
namespace {

using Kind = HelperEngineState::Kind;

TEST(HelperNotice, SaysWhereToAllowAccess) {
  const auto notice = HelperNotice::forState({Kind::needsFullDiskAccess, {}});
  ASSERT_TRUE(notice);
  EXPECT_EQ(notice->title.toStdString(), "Allow Full Disk Access");
  EXPECT_EQ(notice->body.toStdString(),
            "macOS keeps your Messages history private. Turn on Pellora for Messages in Full Disk Access so it can "
            "read it on this Mac.");
  EXPECT_EQ(notice->button.toStdString(), "Open Full Disk Access");
  EXPECT_EQ(notice->action, HelperNotice::Action::openFullDiskAccess);
}

TEST(HelperNotice, SaysToOpenPellora) {
  const auto notice = HelperNotice::forState({Kind::waitingForPellora, {}});
  ASSERT_TRUE(notice);
  EXPECT_EQ(notice->title.toStdString(), "Open Pellora on this Mac");
  EXPECT_EQ(notice->body.toStdString(),
            "Pellora tells this helper who to look for. Open Pellora once, then come back.");
  EXPECT_EQ(notice->button.toStdString(), "Check Again");
  EXPECT_EQ(notice->action, HelperNotice::Action::read);
}

TEST(HelperNotice, ShowsAFailureAsItStands) {
  const std::string texts[] = {"query(\"no such table: message\")", "", "a <b>bold</b> &amp; <img src=x>\n\tline 2",
                               "ünïcödé 👩‍👩‍👧 مرحبا"};
  for (const std::string& text : texts) {
    const auto notice = HelperNotice::forState(HelperEngineState::failed(text));
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->title.toStdString(), "Couldn't read Messages");
    EXPECT_EQ(notice->body.toStdString(), text);
    EXPECT_EQ(notice->button.toStdString(), "Try Again");
    EXPECT_EQ(notice->action, HelperNotice::Action::read);
  }
}

TEST(HelperNotice, IsAbsentWhileNothingIsWrong) {
  for (const Kind kind : {Kind::starting, Kind::reading, Kind::idle})
    EXPECT_FALSE(HelperNotice::forState({kind, "an old failure"}));
}

}  // namespace
}  // namespace pellora
