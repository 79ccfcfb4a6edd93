// The helper as a program that is started without a window: what it prints, where, and its exit codes.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {
namespace {

using support::ProgramRun;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kNeedsAccess[] = "The Messages database can't be read: ";

class HelperProgram : public testing::Test {
 protected:
  HelperProgram() {
    for (const auto& [name, value] : _home.environment()) _environment.set(name, value);
    _environment.set("HOME", _other.path().string());  // without a store
  }

  int run(const ProgramRun::Setup& setup) {
    ProgramRun program(setup);
    const int status = program.wait();
    output = program.output();
    errors = program.errors();
    return status;
  }

  int runOnFullDevice(const char* option) {
    ProgramRun::Setup full{PELLORA_HELPER, {option}, {}};
    full.output = ProgramRun::Output::fullDevice;
    return run(full);
  }

  int runClosed(const char* option, const char* closed) {
    return run({"/bin/sh", {"-c", std::string("exec \"$0\" ") + option + " " + closed, PELLORA_HELPER}, {}});
  }

  support::ScratchHome _home;
  support::TemporaryFolder _other;
  support::ScopedEnvironment _environment;
  std::string output;
  std::string errors;
};

TEST_F(HelperProgram, PrintsWhatIsAsked) {
  EXPECT_EQ(run({PELLORA_HELPER, {"--help"}, {}}), 0);
  EXPECT_THAT(output, HasSubstr("Exit codes of --read-once"));
  EXPECT_EQ(run({PELLORA_HELPER, {"--version"}, {}}), 0);
  EXPECT_THAT(output, testing::MatchesRegex("pellora-for-messages [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(errors, IsEmpty());
}

TEST_F(HelperProgram, LostOutputIsAnError) {
  for (const char* option : {"--help", "--version"}) {
    EXPECT_EQ(runOnFullDevice(option), 1) << option;
    EXPECT_EQ(errors, "The output cannot be written: No space left on device.\n");
    EXPECT_EQ(runClosed(option, "1>&-"), 1) << option;
    EXPECT_EQ(errors, "The output cannot be written: Bad file descriptor.\n");
    EXPECT_EQ(runClosed(option, "0<&- 1>&- 2>&-"), 1) << option;
  }
}

TEST_F(HelperProgram, TheReadsExitCodeStaysWhenItsLineIsLost) {
  EXPECT_EQ(runOnFullDevice("--read-once"), 3);
  EXPECT_THAT(errors, HasSubstr("The output cannot be written: No space left on device.\n"));
  EXPECT_EQ(runClosed("--read-once", "0<&- 1>&- 2>&-"), 3);
  _environment.set("HOME", _home.path().string());
  EXPECT_EQ(runOnFullDevice("--read-once"), 0);
  EXPECT_EQ(errors, "The output cannot be written: No space left on device.\n");
}

TEST_F(HelperProgram, APipeInPlaceOfTheStoreCannotBeReadAndIsNotWaitedFor) {
  const auto store = _other / "Library/Messages/chat.db";
  std::filesystem::create_directories(store.parent_path());
  ASSERT_EQ(::mkfifo(store.c_str(), 0600), 0);
  EXPECT_EQ(run({PELLORA_HELPER, {"--read-once"}, {}}), 3);
  EXPECT_EQ(errors, kNeedsAccess + store.string() + "\n");
}

}  // namespace
}  // namespace pellora
