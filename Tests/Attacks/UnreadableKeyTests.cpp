// A key that the helper cannot get at is another matter than a key that nobody shared: the helper says which.
#include <filesystem>

#include "Tests/Attacks/AttackTest.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class UnreadableKey : public AttackTest {
 protected:
  fs::path keyFile() const { return _home.shared().parent_path() / "app.pellora.messages.exchange/exchange-key"; }
};

TEST_F(UnreadableKey, AKeyFileThatOthersMayReadIsNamed) {
  fs::permissions(keyFile(), fs::perms::owner_read | fs::perms::others_read);
  EXPECT_EQ(helper({"--read-once"}), 4);
  EXPECT_THAT(errors, HasSubstr("exchange-key"));
  EXPECT_THAT(errors, HasSubstr("`pellora-companion status` says what to do."));
}

TEST_F(UnreadableKey, AKeyThatNobodySharedIsWaitedFor) {
  fs::remove(keyFile());
  EXPECT_EQ(helper({"--read-once"}), 4);
  EXPECT_THAT(errors, HasSubstr("Pellora hasn't shared a key and people yet; "));
  EXPECT_THAT(errors, Not(HasSubstr("exchange-key")));
}

}  // namespace
}  // namespace pellora
