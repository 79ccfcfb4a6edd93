// The companion killed at any moment of an import, and limits on what it may write: no part of a file stays, and the
// people file is the old one or the new one.
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "Tests/Attacks/AttackTest.h"
#include "Tests/Support/ChildProcess.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::ProgramRun;

constexpr char kLeftover[] = ".pellora-6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10.tmp";

class KilledCompanion : public AttackTest {
 protected:
  std::vector<fs::path> writtenFolders() const {
    const fs::path data = _home.path() / "data";
    const fs::path config = _home.path() / "config";
    return {data / "app.pellora.messages",
            data / "app.pellora.messages.exchange",
            config / "app.pellora.messages.companion",
            config / "app.pellora.messages.model",
            config / "autostart",
            _home.path() / "runtime/app.pellora.messages"};
  }

  std::size_t countOfPeople() const {
    const auto people = HelperPeopleFile::read(_home.key(), _home.shared());
    return people ? people->people.size() : 0;
  }
};

TEST_F(KilledCompanion, ItsNextRunTakesAwayWhatAKilledOneLeftBehind) {
  for (const fs::path& folder : writtenFolders()) {
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    std::ofstream(folder / kLeftover) << "half of a fi";
  }
  ASSERT_EQ(_home.temporaryFiles().size(), writtenFolders().size());
  EXPECT_EQ(companion({"people", "list"}), 0) << errors;
  EXPECT_THAT(_home.temporaryFiles(), testing::IsEmpty());
}

TEST_F(KilledCompanion, WhatAnotherRunIsWritingStays) {
  const fs::path file = _home.shared() / kLeftover;
  const FileDescriptor writing = FileDescriptor::open(file, O_WRONLY | O_CREAT, 0600);
  ASSERT_EQ(flock(writing.number(), LOCK_EX), 0);
  EXPECT_EQ(companion({"people", "list"}), 0) << errors;
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(KilledCompanion, APageThatWasHalfWrittenGoesWithTheNextOne) {
  _home.addSomeDays();
  ASSERT_EQ(helper({"--read-once"}), 0) << errors;
  const fs::path folder = _home.path() / "pages";
  fs::create_directory(folder);
  std::ofstream(folder / kLeftover) << "<html>";
  EXPECT_EQ(companion({"lately", "--html", folder / "page.html"}), 0) << errors;
  EXPECT_THAT(_home.temporaryFiles(), testing::IsEmpty());
  EXPECT_TRUE(fs::exists(folder / "page.html"));
}

TEST_F(KilledCompanion, AnImportKilledAtAnyMomentLeavesTheOldPeopleOrTheNew) {
  for (int milliseconds = 0; milliseconds < 60; milliseconds += 4) {
    {
      ProgramRun::Setup setup{PELLORA_COMPANION, {"people", "import", "-"}, {}};
      setup.input = R"([{"firstName":"Cleo","phones":["+1 555 010 0003"]}])";
      const ProgramRun run(setup);
      std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
    EXPECT_THAT(countOfPeople(), testing::AnyOf(2U, 3U));
  }
  EXPECT_EQ(companion({"people", "list"}), 0) << errors;
  EXPECT_THAT(_home.temporaryFiles(), testing::IsEmpty());
}

TEST_F(KilledCompanion, ALimitOnTheSizeOfFilesIsAnErrorAndNothingIsLost) {
  const std::string report = support::reportOfProcess([&]() -> std::string {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_FSIZE, &none);
    ProgramRun::Setup setup{PELLORA_COMPANION, {"people", "import", "-"}, {}};
    setup.input = R"([{"firstName":"Cleo","phones":["+1 555 010 0003"]}])";
    ProgramRun run(setup);
    const int code = run.wait();
    return std::to_string(code) + ": " + run.errors();
  });
  EXPECT_THAT(report, testing::StartsWith("1: "));
  EXPECT_THAT(report, testing::HasSubstr("File too large"));
  EXPECT_EQ(countOfPeople(), 2U);
  EXPECT_THAT(_home.temporaryFiles(), testing::IsEmpty());
}

}  // namespace
}  // namespace pellora
