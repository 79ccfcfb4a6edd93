// The real companion, disturbed at every call by which a command opens, reads or changes files. Whatever the fault,
// what the command changes is as before or as after it, success reported means after, and the next run completes the
// work and takes away every temporary file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "Tests/Faults/DisturbedRun.h"
#include "Tests/Support/ScratchHome.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::DisturbedRun;

constexpr long kCallsOfACommand = 2000;

struct Deed {
  const char* name;
  std::vector<std::string> arguments;     // names of files are below the home
  std::vector<std::string> completion{};  // run next when the command says that there is nothing left to do
  std::vector<std::string> between{};     // states between the old and the new that the next run completes
};

const std::vector<Deed>& deeds() {
  static const std::vector<Deed> all = {
      {"Import", {"people", "import", "HOME/book.json"}},
      {"Remove",
       {"people", "remove", "Ben"},
       {"sweep"},
       {"2 people, 1 records, 18 messages", "1 people, 2 records, 18 messages"}},
      {"Delete", {"delete", "Ben"}, {"people", "list"}},
      {"Sweep", {"sweep"}},
      {"Reread", {"reread"}},
      {"Page", {"lately", "--html", "HOME/pages/page.html"}},
      {"History", {"history", "add", "HOME/source/chat.db"}},
  };
  return all;
}

using Case = std::tuple<std::size_t, const char*>;  // which deed; the kind of the fault

bool isInShortForm(const Case& given) {
  const std::string deed = deeds()[std::get<0>(given)].name;
  const std::string kind = std::get<1>(given);
  return deed == "Import" && (kind == "kill" || kind == "from-28");
}

class CompanionFault : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    const char* value = std::getenv("PELLORA_LONG_TESTS");
    if ((value == nullptr || *value == '\0') && !isInShortForm(GetParam())) GTEST_SKIP() << "part of the long form";
    _home.addSomeDays();
    ASSERT_EQ(DisturbedRun::undisturbed(PELLORA_HELPER, {"--read-once"}, _home.environment()).exitCode, 0);
    _home.ownStore().reset();
    std::ofstream(_home.path() / "book.json") << R"([{"firstName":"Cleo","phones":["+1 555 010 0003"]}])";
    fs::create_directory(_home.path() / "pages");
    makeSource();
    if (std::string(deed().name) == "Sweep")
      HelperPeopleFile{std::chrono::system_clock::now(), {_home.anna()}}.write(_home.key(), _home.shared());
    copyAll(_home.path(), _kept.path());
  }

  const Deed& deed() const { return deeds()[std::get<0>(GetParam())]; }

  // A history with one newer message, whose program is still writing.
  void makeSource() {
    fs::create_directory(_home.path() / "source");
    fs::copy_file(_home.path() / "Library/Messages/chat.db", _home.path() / "source/chat.db");
    _source = support::SmallStore::open(_home.path() / "source/chat.db");
    _source->addMessage(_home.annaChat(), std::chrono::system_clock::now(), support::SmallStore::kFromThem, "newer");
  }

  static void copyAll(const fs::path& from, const fs::path& to) {
    for (const char* name : {"data", "config", "runtime", "Library", "pages"}) {
      fs::remove_all(to / name);
      fs::copy(from / name, to / name, fs::copy_options::recursive);
    }
  }

  std::vector<std::string> arguments() const {
    std::vector<std::string> result = deed().arguments;
    for (std::string& each : result)
      if (each.starts_with("HOME")) each.replace(0, 4, _home.path().string());
    return result;
  }

  DisturbedRun runUndisturbed(const std::vector<std::string>& given) {
    return DisturbedRun::undisturbed(PELLORA_COMPANION, given, _home.environment());
  }

  // All that the commands change, as text.
  std::string state() const {
    std::ostringstream text;
    const auto people = HelperPeopleFile::read(_home.key(), _home.shared());
    text << (people ? std::to_string(people->people.size()) : "no") << " people, ";
    text << MessagesLatelyInbox::readAll(_home.key(), _home.shared()).size() << " records, ";
    if (HelperState::requestedReread(_home.key(), _home.shared())) text << "a reread, ";
    const std::optional<std::string> page = AtomicFile::read(_home.path() / "pages/page.html");
    if (page) text << (page->find("</html>") == std::string::npos ? "half a page, " : "a page, ");
    try {
      text << ChatDatabase(_home.path() / "Library/Messages/chat.db").messages(0, 1000).size() << " messages";
    } catch (const std::exception& error) {
      text << error.what();
    }
    return text.str();
  }

  void check(const DisturbedRun& run, const std::string& before, const std::string& after, const std::string& what) {
    EXPECT_EQ(run.exitCode == DisturbedRun::kKilled, std::get<1>(GetParam()) == std::string("kill"))
        << what << ": it crashed or hung";
    const std::string left = state();
    const std::vector<std::string>& between = deed().between;
    EXPECT_TRUE(left == before || left == after || std::find(between.begin(), between.end(), left) != between.end())
        << what << ": " << left;
    if (run.exitCode == 0) EXPECT_EQ(left, after) << what << ": it claims success";
    if (runUndisturbed(arguments()).exitCode != 0) {
      ASSERT_FALSE(deed().completion.empty()) << what;
      EXPECT_EQ(runUndisturbed(deed().completion).exitCode, 0) << what;
    }
    EXPECT_EQ(state(), after) << what;
    EXPECT_EQ(_home.temporaryFiles(), std::vector<std::string>()) << what;
  }

  support::ScratchHome _home;
  support::TemporaryFolder _kept;
  std::unique_ptr<support::SmallStore> _source;
};

TEST_P(CompanionFault, LeavesTheOldOrTheNewAndTheNextRunCompletes) {
  const std::string kind = std::get<1>(GetParam());
  const std::string before = state();
  ASSERT_EQ(runUndisturbed(arguments()).exitCode, 0);
  const std::string after = state();
  ASSERT_NE(before, after);
  long at = 1;
  for (; at < kCallsOfACommand && !HasFailure(); ++at) {
    copyAll(_kept.path(), _home.path());
    const DisturbedRun run =
        DisturbedRun::of(PELLORA_COMPANION, arguments(), {kind, at}, _home.path(), _home.environment());
    if (!run.wasDisturbed()) break;
    check(run, before, after, kind + " at " + run.call + " (" + std::to_string(at) + ")");
  }
  EXPECT_LT(at, kCallsOfACommand);
  EXPECT_GT(at, 1);
  std::cout << "  " << deed().name << ": " << kind << " at each of " << at - 1 << " calls\n";
}

INSTANTIATE_TEST_SUITE_P(, CompanionFault,
                         testing::Combine(testing::Range<std::size_t>(0, deeds().size()),
                                          testing::Values("kill", "5", "28", "13", "24", "12", "interrupted", "from-28",
                                                          "from-30")),
                         [](const auto& info) {
                           std::string name = deeds()[std::get<0>(info.param)].name;
                           name += std::string("_") + std::get<1>(info.param);
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace pellora
