// The lock of commands that change the same thing, and why it cannot be had.
#include <gmock/gmock.h>

#include "Companion/Commands/ChangeLock.h"
#include "Companion/Output/CompanionFailure.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string failureOf(const CompanionContext& context) {
  try {
    change_lock::take(context, "test.lock", "changing the people", std::chrono::milliseconds(0));
  } catch (const CompanionFailure& failure) {
    return failure.what();
  }
  return {};
}

TEST(ChangeLock, OneAtATimeHoldsIt) {
  CompanionWorld world;
  const CompanionContext context = world.context();
  const auto lock = change_lock::take(context, "test.lock", "changing the people", std::chrono::milliseconds(0));
  EXPECT_THAT(failureOf(context), AllOf(HasSubstr("Another pellora-companion is changing the people"),
                                        HasSubstr("Try again"), Not(HasSubstr("XDG_RUNTIME_DIR"))));
}

TEST(ChangeLock, GoesWithItsHolder) {
  CompanionWorld world;
  const CompanionContext context = world.context();
  change_lock::take(context, "test.lock", "changing the people", std::chrono::milliseconds(0));
  EXPECT_THAT(failureOf(context), IsEmpty());
}

TEST(ChangeLock, AFileThatCannotBeOpenedIsNamedWithTheReason) {
  CompanionWorld world;
  const CompanionContext context = world.context();
  std::filesystem::create_directories(*context.runtime / "test.lock");
  EXPECT_THAT(failureOf(context), AllOf(HasSubstr("test.lock cannot be opened (Is a directory)"),
                                        HasSubstr("XDG_RUNTIME_DIR"), Not(HasSubstr("Another"))));
}

TEST(ChangeLock, WithoutARuntimeFolderThatIsSaid) {
  CompanionWorld world;
  CompanionContext context = world.context();
  context.runtime.reset();
  EXPECT_THAT(failureOf(context), AllOf(HasSubstr("There is no runtime folder"), HasSubstr("XDG_RUNTIME_DIR")));
}

}  // namespace
}  // namespace pellora
