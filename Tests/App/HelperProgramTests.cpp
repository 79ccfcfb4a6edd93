// The helper as a program that is started without a window: what it prints, where, and its exit codes.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ModelServerProcess.h"
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

  // A start of the helper that may have so many files open; `option` of "ulimit" says which limit.
  static ProgramRun::Setup limited(const std::string& option, int files, const std::string& argument) {
    const std::string command = "ulimit " + option + " " + std::to_string(files) + " && exec \"$0\" \"$1\"";
    return {"/bin/sh", {"-c", command, PELLORA_HELPER, argument}, {}};
  }
  int runWithFiles(const std::string& option, int files, const std::string& argument) {
    return run(limited(option, files, argument));
  }

  bool isEveryDayAnalyzed() const {
    const std::vector<MessagesDayRecord> days = _home.records().days;
    return !days.empty() &&
           std::all_of(days.begin(), days.end(), [](const auto& day) { return day.meetups && day.summary; });
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

TEST_F(HelperProgram, WithTooFewOpenFilesItSaysSoAndEnds) {
  _environment.set("HOME", _home.path().string());
  for (const int files : {8, 12, 20, 24, 40, 63})
    for (const char* option : {"--read-once", "--background"}) {
      EXPECT_EQ(runWithFiles("-n", files, option), 5) << files << option;
      EXPECT_EQ(errors, "The helper may have only " + std::to_string(files) +
                            " files open at once and needs 64; raise the limit (\"ulimit -n\").\n");
    }
  EXPECT_EQ(runWithFiles("-S -n", 8, "--read-once"), 0) << "it raises its own limit as far as it may: " << errors;
}

TEST_F(HelperProgram, SixtyFourOpenFilesAreEnoughForAReadWithAModel) {
  _home.addSomeDays();
  _environment.set("HOME", _home.path().string());
  _environment.set("QT_QPA_PLATFORM", "offscreen");
  using Transport = support::ModelServerProcess::Transport;
  for (const Transport transport : {Transport::unixSocket, Transport::port}) {
    const support::ModelServerProcess server(transport);
    _environment.set("PELLORA_MODEL_URL", server.url());
    _home.forgetReads();
    EXPECT_EQ(runWithFiles("-n", 64, "--read-once"), 0) << errors;
    EXPECT_TRUE(isEveryDayAnalyzed());
    _home.forgetReads();
    ProgramRun background(limited("-n", 64, "--background"));
    EXPECT_TRUE(support::waitUntil([&] { return isEveryDayAnalyzed(); }, std::chrono::minutes(1)));
    ::kill(background.process(), SIGTERM);
    EXPECT_EQ(background.wait(), 0) << background.errors();
  }
}

TEST_F(HelperProgram, FindsTheKeyFileByTheKeptChoiceAlone) {
  _environment.set("HOME", _home.path().string());
  _environment.unset("PELLORA_SECRET_STORE");
  _environment.unset("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(run({PELLORA_HELPER, {"--read-once"}, {}}), 4) << "there is no keyring";
  std::ofstream(_home.path() / "data/app.pellora.messages.exchange/secret-store") << "file\n";
  EXPECT_EQ(run({PELLORA_HELPER, {"--read-once"}, {}}), 0) << errors;
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
