// Plants unique words in messages of people who are known, of strangers and of a group, lets the real helper read
// them with a model that repeats all it is told and through failures, and then looks for the words in every file
// below the home folder (temporary and runtime files included), on the standard streams, inside the sealed files and
// in the memory of the running helper.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/Sanitizers.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::ModelServerProcess;

constexpr char kKnown[] = "zqvknownword";
constexpr char kStranger[] = "zqvstrangerword";
constexpr char kGroup[] = "zqvgroupword";
constexpr char kStrangerNumber[] = "5550199887";
constexpr char kStrangerName[] = "zqvstranger@example.net";
constexpr char kNotPermitted[] = "not permitted";
constexpr char kFromModel[] = "zqvmodelword";

Instant minutesAgo(int minutes) {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::minutes(minutes);
}

std::string asUtf16(const std::string& ascii) {
  std::string result;
  for (const char each : ascii) (result += each) += '\0';
  return result;
}

class LeakTest : public testing::Test {
 protected:
  void SetUp() override {
    _stranger = _home.store().addChat({std::string("+1") + kStrangerNumber});
    _otherStranger = _home.store().addChat({kStrangerName});
    _group = _home.store().addChat({"+15550100001", "ben@example.com"});
    // The model server's own log does not concern the helper.
    for (const auto& [name, value] : _home.environment())
      if (name != "TMPDIR") _environment.set(name, value);
    plant();
  }

  void plant() {
    support::SmallStore& store = _home.store();
    int minute = 2;
    for (const bool isFromMe : {false, true}) {
      for (const std::string& text : {std::string("Thanks for dinner last night, ") + kKnown,
                                      std::string("Happy birthday! I got a new job at ") + kKnown,
                                      std::string("So good to see you yesterday ") + kKnown + " we had a baby"}) {
        store.addMessage(_home.annaChat(), minutesAgo(++minute), isFromMe, text);
        store.addArchivedMessage(_home.benChat(), minutesAgo(++minute), isFromMe, text);
        store.addMessage(_stranger, minutesAgo(++minute), isFromMe,
                         text + kStranger + " https://a.example/" + kStranger);
        store.addArchivedMessage(_otherStranger, minutesAgo(++minute), isFromMe, text + kStranger);
        store.addMessage(_group, minutesAgo(++minute), isFromMe, text + kGroup + " https://a.example/" + kGroup);
      }
    }
  }

  int read() {
    support::ScopedEnvironment scratch;
    scratch.set("TMPDIR", _home.environment().at("TMPDIR"));
    support::ProgramRun run({PELLORA_HELPER, {"--read-once"}, {}});
    const int code = run.wait();
    _streams += run.output() + run.errors();
    return code;
  }

  // Where the word was found; the store itself is not looked into.
  std::vector<std::string> places(const std::string& word) const {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(_home.path())) {
      if (!entry.is_regular_file() || entry.path().parent_path() == _home.store().path().parent_path()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(file), {});
      if (holds(bytes, word) || holds(opened(entry.path(), bytes), word)) found.push_back(entry.path().filename());
    }
    if (holds(_streams, word)) found.emplace_back("standard streams");
    return found;
  }

  static bool holds(const std::string& bytes, const std::string& word) {
    return bytes.find(word) != std::string::npos || bytes.find(asUtf16(word)) != std::string::npos;
  }

  std::string opened(const fs::path& file, const std::string& bytes) const {
    std::string all;
    for (const std::string& context :
         {std::string("people"), std::string("helper-notes"), "lately:" + file.stem().string()})
      all += SealedEnvelope::open(bytes, _home.key(), context).value_or("");
    return all;
  }

  void expectNothing() const { EXPECT_EQ(placesOfAllWords(), ""); }

  // Word and place, one per line.
  std::string placesOfAllWords() const {
    std::string all;
    for (const char* word : {kKnown, kStranger, kGroup, kStrangerNumber, kStrangerName})
      for (const std::string& place : places(word)) all += std::string(word) + " in " + place + "\n";
    for (const fs::directory_entry& entry : fs::directory_iterator(_home.store().path().parent_path()))
      if (!entry.path().filename().string().starts_with("chat.db")) all += "new: " + entry.path().string() + "\n";
    return all;
  }

  support::ScratchHome _home;
  support::ScopedEnvironment _environment;
  std::int64_t _stranger = 0;
  std::int64_t _otherStranger = 0;
  std::int64_t _group = 0;
  std::string _streams;
};

TEST_F(LeakTest, NothingIsLeftOfMessagesWithoutModel) {
  ASSERT_EQ(read(), 0) << _streams;
  ASSERT_EQ(_home.records().lately.size(), 2u);
  expectNothing();
}

TEST_F(LeakTest, NothingIsLeftOfMessagesThatTheModelRepeats) {
  const ModelServerProcess model(ModelServerProcess::Transport::unixSocket, {QStringLiteral("--echo")});
  _environment.set("PELLORA_MODEL_URL", model.url());
  ASSERT_EQ(read(), 0) << _streams;
  ASSERT_GT(model.count("/v1/chat/completions"), 0u);
  for (const std::string& body : model.bodies("/v1/chat/completions"))
    for (const char* word : {kStranger, kGroup}) EXPECT_EQ(body.find(word), std::string::npos);
  expectNothing();
}

TEST_F(LeakTest, OnlyTheModelsOwnSentenceIsKept) {
  const std::string answer = std::string("You and Anna talked about ") + kFromModel + " and the move.";
  const ModelServerProcess model(ModelServerProcess::Transport::unixSocket,
                                 {QStringLiteral("--answer"), QString::fromStdString(answer),
                                  QStringLiteral("--guided-answer"), QStringLiteral("{}")});
  _environment.set("PELLORA_MODEL_URL", model.url());
  ASSERT_EQ(read(), 0) << _streams;
  expectNothing();
  const std::vector<std::string> found = places(kFromModel);
  EXPECT_FALSE(found.empty()) << "this search finds nothing at all";
  for (const std::string& name : found) EXPECT_TRUE(name.ends_with(".json")) << name;
}

TEST_F(LeakTest, NothingIsLeftOfMessagesWhenReadsFail) {
  const ModelServerProcess model(ModelServerProcess::Transport::unixSocket,
                                 {QStringLiteral("--status"), QStringLiteral("500")});
  _environment.set("PELLORA_MODEL_URL", model.url());
  EXPECT_EQ(read(), 0) << _streams;
  _home.store().execute("ALTER TABLE chat_handle_join RENAME TO elsewhere");
  EXPECT_EQ(read(), 5) << _streams;
  _home.store().execute("ALTER TABLE elsewhere RENAME TO chat_handle_join");
  fs::remove_all(_home.shared() / "Lately");
  std::ofstream(_home.shared() / "Lately") << "no folder";
  _home.store().addMessage(_home.annaChat(), minutesAgo(1), false, kKnown);
  EXPECT_EQ(read(), 5) << _streams;
  expectNothing();
}

TEST_F(LeakTest, NothingIsLeftOfMessagesWhenTheStoreIsLocked) {
  _home.store().execute("PRAGMA locking_mode = EXCLUSIVE");
  _home.store().addMessage(_home.annaChat(), minutesAgo(1), false, kKnown);
  EXPECT_EQ(read(), 5) << _streams;
  expectNothing();
}

TEST_F(LeakTest, NothingIsLeftOfMessagesWhenTheHelperIsKilled) {
  const ModelServerProcess model(ModelServerProcess::Transport::unixSocket, {QStringLiteral("--echo")});
  _environment.set("PELLORA_MODEL_URL", model.url());
  for (int milliseconds = 2; milliseconds < 120; milliseconds += 8) {
    const support::ProgramRun run({PELLORA_HELPER, {"--read-once"}, {}});
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
  expectNothing();
}

TEST_F(LeakTest, NothingIsLeftOfMessagesOnAFullDisk) {
  const std::string report = support::reportOfProcess([this]() -> std::string {
    const fs::path data = _home.shared().parent_path();
    const fs::path disk = _home.path() / "disk";
    fs::create_directory(disk);
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", disk.c_str(), "tmpfs", 0, "size=256k") != 0)
      return kNotPermitted;
    fs::copy(data, disk, fs::copy_options::recursive);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(disk))
      fs::permissions(entry.path(), entry.is_directory() ? fs::perms::owner_all : fs::perms(0600));
    if (mount(disk.c_str(), data.c_str(), nullptr, MS_BIND, nullptr) != 0) return kNotPermitted;
    std::ofstream(disk / "filler") << std::string(1 << 20, 'x');
    if (const int code = read(); code != 5) return "the read ended with " + std::to_string(code) + ": " + _streams;
    return placesOfAllWords();
  });
  if (report == kNotPermitted) GTEST_SKIP() << "no file system may be mounted here";
  EXPECT_EQ(report, "");
}

// What the process can read of its own memory, but for its programs and libraries; absent when we may not look.
std::optional<std::string> memoryOf(pid_t process) {
  const fs::path folder = fs::path("/proc") / std::to_string(process);
  std::ifstream maps(folder / "maps");
  std::ifstream memory(folder / "mem", std::ios::binary);
  if (!maps || !memory) return std::nullopt;
  std::string all;
  for (std::string line; std::getline(maps, line);) {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::array<char, 5> rights{};
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &begin, &end, rights.data()) != 3) continue;
    if (rights[0] != 'r' || rights[1] != 'w') continue;
    std::string bytes(end - begin, '\0');
    memory.clear();
    if (memory.seekg(static_cast<std::streamoff>(begin)) && memory.read(bytes.data(), std::streamsize(bytes.size())))
      all += bytes;
  }
  return all;
}

// The words with what is stored around them, to tell where they come from.
std::string wordsIn(const std::string& memory) {
  std::string found;
  for (const std::string word : {kKnown, kStranger, kGroup})
    for (const std::string& form : {word, asUtf16(word)})
      for (std::size_t at = memory.find(form); at != std::string::npos; at = memory.find(form, at + 1)) {
        for (const char each : memory.substr(at < 60 ? 0 : at - 60, 120))
          found += each >= ' ' && each < 127 ? each : '.';
        found += '\n';
      }
  return found;
}

// A read in the program that goes on running, with a model that repeats all it is told.
TEST_F(LeakTest, NothingIsLeftOfMessagesInMemory) {
  if (support::kUnderSanitizers) GTEST_SKIP() << "Under the sanitizers memory is kept after it was given back.";
  const ModelServerProcess model(ModelServerProcess::Transport::unixSocket, {QStringLiteral("--echo")});
  _environment.set("PELLORA_MODEL_URL", model.url());
  _environment.set("QT_QPA_PLATFORM", "offscreen");
  const support::ProgramRun run({PELLORA_HELPER, {"--background"}, {}});
  const auto isRead = [&] { return _home.records().lately.size() == 2; };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
  std::string found = "No read has ended.";
  while (!found.empty() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    if (!isRead()) continue;
    const std::optional<std::string> memory = memoryOf(run.process());
    if (!memory) GTEST_SKIP() << "The memory of a confined process is root's to read.";
    ASSERT_TRUE(holds(*memory, _home.store().path().native())) << "this search finds nothing at all";
    found = wordsIn(*memory);
  }
  EXPECT_EQ(found, "");
  // The long form looks again when the helper has settled and been idle for a minute.
  if (std::getenv("PELLORA_LONG_TESTS") == nullptr || *std::getenv("PELLORA_LONG_TESTS") == '\0') return;
  std::this_thread::sleep_for(std::chrono::seconds(65));
  EXPECT_EQ(wordsIn(memoryOf(run.process()).value_or("")), "");
}

}  // namespace
}  // namespace pellora
