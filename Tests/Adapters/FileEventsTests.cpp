// The contract of file events; then the kernel's against another process that writes a store.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>

#include "Adapters/InMemory/InMemoryEvents.h"
#include "Adapters/Linux/Files/InotifyFileEvents.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using support::waitUntil;

class FileEventsWorld {
 public:
  virtual ~FileEventsWorld() = default;
  virtual FileEvents& events() = 0;
  virtual void write(const std::filesystem::path& file) = 0;
};

class MemoryFileEventsWorld : public FileEventsWorld {
 public:
  FileEvents& events() override { return _events; }
  void write(const std::filesystem::path& file) override { _events.raise(file); }

 private:
  InMemoryFileEvents _events;
};

class KernelWorld : public FileEventsWorld {
 public:
  FileEvents& events() override { return _events; }
  void write(const std::filesystem::path& file) override { std::ofstream(file, std::ios::app) << "more" << std::flush; }

 private:
  InotifyFileEvents _events;
};

class FileEventsContract : public support::Contract<FileEventsWorld> {
 protected:
  FileEventsContract() { std::ofstream(file) << "start"; }
  FileEvents& events() { return world->events(); }

  support::TemporaryFolder folder;
  const std::filesystem::path file = folder / "chat.db";
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

TEST_P(FileEventsContract, AFileThatAppearsLaterIsToldOf) {
  const auto watch = events().watch(folder / "later/chat.db", [this] { ++calls; });
  ASSERT_TRUE(watch);
  std::filesystem::create_directory(folder / "later");
  world->write(folder / "later/chat.db");
  EXPECT_TRUE(waitUntil([this] { return calls > 0; }));
}

TEST_P(FileEventsContract, TheLogBesideTheFileIsPartOfIt) {
  const auto watch = events().watch(file, [this] { ++calls; });
  world->write(file.string() + "-wal");
  EXPECT_TRUE(waitUntil([this] { return calls > 0; }));
}

TEST_P(FileEventsContract, AnotherFileIsNotToldOf) {
  std::ofstream(folder / "other") << "start";
  const auto watch = events().watch(file, [this] { ++calls; });
  world->write(folder / "other");
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, support::kQuiet));
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
  EXPECT_FALSE(waitUntil([this] { return calls > 0; }, support::kQuiet));
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
  EXPECT_FALSE(waitUntil([this] { return calls > 1; }, support::kQuiet));
}

TEST_P(FileEventsContract, TwoWatchesOnOneFileAreBothTold) {
  int others = 0;
  const auto first = events().watch(file, [this] { ++calls; });
  const auto second = events().watch(file, [&others] { ++others; });
  world->write(file);
  EXPECT_TRUE(waitUntil([&] { return calls > 0 && others > 0; }));
}

INSTANTIATE_TEST_SUITE_P(Events, FileEventsContract,
                         testing::Values(support::party<FileEventsWorld, MemoryFileEventsWorld>("InMemory"),
                                         support::party<FileEventsWorld, KernelWorld>("Inotify")),
                         support::kPartyName);

TEST(InotifyFileEvents, ReadingAndWhatReadersCreateAreNoChanges) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "chat.db") << "start";
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "chat.db", [&] { ++calls; });
  std::string content;
  std::ifstream(folder / "chat.db") >> content;
  std::ofstream(folder / "chat.db-wal").close();
  std::ofstream(folder / "chat.db-shm") << "index";
  std::ofstream(folder / "chat.db-walx") << "another file";
  std::ofstream(folder / "other") << "another file";
  std::filesystem::remove(folder / "chat.db-shm");
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, support::kQuiet));
}

// Changes of a store: each is told of, and so is the next write to its log, wherever it is then.
struct Happening {
  const char* name;
  void (*act)(const std::filesystem::path& folder);
};

class InotifyFollows : public testing::TestWithParam<Happening> {};

void write(const std::filesystem::path& file) {
  std::ofstream(file, std::ios::app) << "more" << std::flush;
}

void makeStore(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  write(folder / "chat.db");
  write(folder / "chat.db-wal");
}

constexpr Happening kHappenings[] = {
    {"LogDeletedAndCreatedAgain",
     [](const std::filesystem::path& folder) {
       std::filesystem::remove(folder / "Library/Messages/chat.db-wal");
       write(folder / "Library/Messages/chat.db-wal");
     }},
    {"LogTruncated",
     [](const std::filesystem::path& folder) {
       std::filesystem::resize_file(folder / "Library/Messages/chat.db-wal", 0);
     }},
    {"LogMovedIntoPlace",
     [](const std::filesystem::path& folder) {
       write(folder / "new-wal");
       std::filesystem::rename(folder / "new-wal", folder / "Library/Messages/chat.db-wal");
     }},
    {"DatabaseWritten", [](const std::filesystem::path& folder) { write(folder / "Library/Messages/chat.db"); }},
    {"DatabaseReplaced",
     [](const std::filesystem::path& folder) {
       write(folder / "new.db");
       std::filesystem::rename(folder / "new.db", folder / "Library/Messages/chat.db");
     }},
    {"DatabaseDeletedAndCopiedAgain",
     [](const std::filesystem::path& folder) {
       std::filesystem::remove(folder / "Library/Messages/chat.db");
       write(folder / "Library/Messages/chat.db");
     }},
    {"DatabaseBecameALink",
     [](const std::filesystem::path& folder) {
       makeStore(folder / "elsewhere");
       std::filesystem::create_symlink(folder / "elsewhere/chat.db", folder / "link");
       std::filesystem::rename(folder / "link", folder / "Library/Messages/chat.db");
     }},
    {"FolderReplaced",
     [](const std::filesystem::path& folder) {
       std::filesystem::rename(folder / "Library/Messages", folder / "Library/Old");
       makeStore(folder / "Library/Messages");
     }},
    {"FolderDeletedAndCreatedAgain",
     [](const std::filesystem::path& folder) {
       std::filesystem::remove_all(folder / "Library/Messages");
       makeStore(folder / "Library/Messages");
     }},
    {"FolderAboveReplaced",
     [](const std::filesystem::path& folder) {
       std::filesystem::rename(folder / "Library", folder / "Old");
       makeStore(folder / "Library/Messages");
     }},
    {"FolderBecameALink",
     [](const std::filesystem::path& folder) {
       makeStore(folder / "elsewhere");
       std::filesystem::remove_all(folder / "Library/Messages");
       std::filesystem::create_directory_symlink("../elsewhere", folder / "Library/Messages");
     }},
    {"ModeChanged",
     [](const std::filesystem::path& folder) {
       std::filesystem::permissions(folder / "Library/Messages/chat.db", std::filesystem::perms::owner_read);
       std::filesystem::permissions(folder / "Library/Messages/chat.db", std::filesystem::perms::owner_all);
     }},
};

TEST_P(InotifyFollows, TheStore) {
  const support::TemporaryFolder folder;
  makeStore(folder / "Library/Messages");
  const std::filesystem::path store = folder / "Library/Messages/chat.db";
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(store, [&] { ++calls; });
  ASSERT_TRUE(watch);
  for (const int round : {1, 2}) {
    calls = 0;
    GetParam().act(folder.path());
    EXPECT_TRUE(waitUntil([&] { return calls > 0; })) << round;
    waitUntil([] { return false; }, support::kQuiet);  // what is left of it
    calls = 0;
    write(std::filesystem::canonical(store).string() + "-wal");
    EXPECT_TRUE(waitUntil([&] { return calls > 0; })) << round;
    if (GetParam().name == std::string_view("FolderReplaced")) std::filesystem::remove_all(folder / "Library/Old");
    if (GetParam().name == std::string_view("FolderAboveReplaced")) std::filesystem::remove_all(folder / "Old");
    if (GetParam().name == std::string_view("FolderBecameALink")) std::filesystem::remove(folder / "Library/Messages");
  }
}

INSTANTIATE_TEST_SUITE_P(Events, InotifyFollows, testing::ValuesIn(kHappenings),
                         [](const auto& happening) { return std::string(happening.param.name); });

TEST(InotifyFileEvents, AStoreBehindALinkThatIsTurnedElsewhereIsFollowed) {
  const support::TemporaryFolder folder;
  makeStore(folder / "first");
  makeStore(folder / "second");
  std::filesystem::create_directory_symlink("first", folder / "Messages");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "Messages/chat.db", [&] { ++calls; });
  write(folder / "first/chat.db-wal");
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
  waitUntil([] { return false; }, support::kQuiet);
  calls = 0;
  std::filesystem::create_directory_symlink("second", folder / "turned");
  std::filesystem::rename(folder / "turned", folder / "Messages");
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
  calls = 0;
  write(folder / "first/chat.db-wal");
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, support::kQuiet));
  write(folder / "second/chat.db-wal");
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
}

TEST(InotifyFileEvents, LinksInACircleEndTheSearch) {
  const support::TemporaryFolder folder;
  std::filesystem::create_symlink("second", folder / "first");
  std::filesystem::create_symlink("first", folder / "second");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "first/chat.db", [&] { ++calls; });
  std::filesystem::remove(folder / "first");
  makeStore(folder / "first");
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
}

TEST(InotifyFileEvents, OtherFilesInTheFoldersOnTheWayAreNoEvents) {
  const support::TemporaryFolder folder;
  makeStore(folder / "Library/Messages");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(folder / "Library/Messages/chat.db", [&] { ++calls; });
  write(folder / "Library/file");
  write(folder / "file");
  std::filesystem::create_directory(folder / "Library/Other");
  std::filesystem::remove_all(folder / "Library/Other");
  EXPECT_FALSE(waitUntil([&] { return calls > 0; }, support::kQuiet));
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
  EXPECT_FALSE(waitUntil([&] { return calls > 1; }, support::kQuiet));
}

TEST(InotifyFileEvents, AStoreThatAnotherProcessWritesInWalModeIsToldOf) {
  const support::TemporaryFolder folder;
  const std::filesystem::path store = folder / "chat.db";
  support::ChildProcess first(PELLORA_PLATFORM_PROBE, {"write-wal", store.string(), "1"});
  ASSERT_EQ(first.readLine(), "written");
  int calls = 0;
  InotifyFileEvents events;
  const auto watch = events.watch(store, [&] { ++calls; });
  ASSERT_TRUE(watch);
  support::ChildProcess second(PELLORA_PLATFORM_PROBE, {"write-wal", store.string(), "200"});
  EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
  ASSERT_EQ(second.readLine(), "written");
  waitUntil([] { return false; }, support::kQuiet);
  EXPECT_LE(calls, 200 * 2 + 10);  // two events a commit at most, and what the start of the process wrote
}

}  // namespace pellora
