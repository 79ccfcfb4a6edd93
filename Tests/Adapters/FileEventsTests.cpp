// What every source of file events promises; then the kernel's against another process that writes a store.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>

#include "Adapters/InMemory/InMemoryFileEvents.h"
#include "Adapters/Linux/Files/InotifyFileEvents.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using support::waitUntil;
constexpr std::chrono::milliseconds kQuiet(100);

class World {
 public:
  virtual ~World() = default;
  virtual FileEvents& events() = 0;
  virtual void write(const std::filesystem::path& file) = 0;
};

class MemoryWorld : public World {
 public:
  FileEvents& events() override { return _events; }
  void write(const std::filesystem::path& file) override { _events.raise(file); }

 private:
  InMemoryFileEvents _events;
};

class KernelWorld : public World {
 public:
  FileEvents& events() override { return _events; }
  void write(const std::filesystem::path& file) override { std::ofstream(file, std::ios::app) << "more" << std::flush; }

 private:
  InotifyFileEvents _events;
};

struct Kind {
  const char* name;
  std::unique_ptr<World> (*make)();
};

template <class Type>
std::unique_ptr<World> make() {
  return std::make_unique<Type>();
}

class FileEventsContract : public testing::TestWithParam<Kind> {
 protected:
  FileEventsContract() { std::ofstream(file) << "start"; }
  FileEvents& events() { return world->events(); }

  std::unique_ptr<World> world = GetParam().make();
  support::TemporaryFolder folder;
  const std::filesystem::path file = folder / "chat.db-wal";
  int calls = 0;
};

}  // namespace

TEST_P(FileEventsContract, AWriteIsToldOf) {
  const auto watch = events().watch(file, [this] { ++calls; });
  ASSERT_TRUE(watch);
  world->write(file);
  EXPECT_TRUE(waitUntil([this] { return calls > 0; }));
}

TEST_P(FileEventsContract, EveryLaterWriteIsToldOfToo) {
  const auto watch = events().watch(file, [this] { ++calls; });
  for (int write = 1; write <= 5; ++write) {
    calls = 0;
    world->write(file);
    EXPECT_TRUE(waitUntil([this] { return calls > 0; })) << write;
  }
}

TEST_P(FileEventsContract, AFileThatDoesNotExistCannotBeWatched) {
  EXPECT_FALSE(events().watch(folder / "missing", [this] { ++calls; }));
}

TEST_P(FileEventsContract, AnotherFileIsNotToldOf) {
  std::ofstream(folder / "other") << "start";
  const auto watch = events().watch(file, [this] { ++calls; });
  world->write(folder / "other");
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, kQuiet));
}

TEST_P(FileEventsContract, AWatchThatIsGoneIsSilent) {
  auto watch = events().watch(file, [this] { ++calls; });
  world->write(file);
  waitUntil([this] { return calls > 0; });
  calls = 0;
  world->write(file);
  watch.reset();
  calls = 0;
  world->write(file);
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, kQuiet));
}

TEST_P(FileEventsContract, AHandlerMayEndItsOwnWatch) {
  std::unique_ptr<FileWatch> watch;
  watch = events().watch(file, [&] {
    watch.reset();
    ++calls;
  });
  world->write(file);
  world->write(file);
  EXPECT_TRUE(waitUntil([this] { return calls > 0; }));
  world->write(file);
  EXPECT_FALSE(waitUntil([this] { return calls > 1; }, kQuiet));
}

TEST_P(FileEventsContract, TwoWatchesOnOneFileAreBothTold) {
  int others = 0;
  const auto first = events().watch(file, [this] { ++calls; });
  const auto second = events().watch(file, [&others] { ++others; });
  world->write(file);
  EXPECT_TRUE(waitUntil([&] { return calls > 0 && others > 0; }));
}

INSTANTIATE_TEST_SUITE_P(Events, FileEventsContract,
                         testing::Values(Kind{"InMemory", make<MemoryWorld>}, Kind{"Inotify", make<KernelWorld>}),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(InotifyFileEvents, FollowsTheFileAndNotItsName) {
  const support::TemporaryFolder folder;
  std::ofstream old(folder / "log");
  old << "start" << std::flush;
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "log", [&] { ++calls; });
  std::filesystem::rename(folder / "log", folder / "moved");
  std::ofstream(folder / "log") << "another file";
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, kQuiet));
  old << "more" << std::flush;
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
}

TEST(InotifyFileEvents, ReadingDeletingAndRenamingAreNoWrites) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "log") << "start";
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "log", [&] { ++calls; });
  std::string content;
  std::ifstream(folder / "log") >> content;
  std::filesystem::permissions(folder / "log", std::filesystem::perms::owner_read);
  std::filesystem::rename(folder / "log", folder / "moved");
  std::filesystem::remove(folder / "moved");
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, kQuiet));
}

TEST(InotifyFileEvents, TruncationCountsAsWriting) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "log") << "start";
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "log", [&] { ++calls; });
  std::filesystem::resize_file(folder / "log", 0);
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
}

TEST(InotifyFileEvents, ABurstIsOneCall) {
  const support::TemporaryFolder folder;
  std::ofstream file(folder / "log");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "log", [&] { ++calls; });
  for (int write = 0; write < 5000; ++write) file << "x" << std::flush;
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
  EXPECT_FALSE(waitUntil([&] { return calls > 1; }, kQuiet));
}

TEST(InotifyFileEvents, AStoreThatAnotherProcessWritesInWalModeIsToldOf) {
  const support::TemporaryFolder folder;
  const std::filesystem::path store = folder / "chat.db";
  support::ChildProcess first(PELLORA_PLATFORM_PROBE, {"write-wal", store.string(), "1"});
  ASSERT_EQ(first.readLine(), "written");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(store.string() + "-wal", [&] { ++calls; });
  ASSERT_TRUE(watch);
  support::ChildProcess second(PELLORA_PLATFORM_PROBE, {"write-wal", store.string(), "200"});
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
  ASSERT_EQ(second.readLine(), "written");
  waitUntil([] { return false; }, kQuiet);
  EXPECT_LE(calls, 200 * 2 + 10);  // two events a commit at most, and what the start of the process wrote
}

}  // namespace pellora
