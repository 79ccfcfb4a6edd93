// The history commands over files as people have them: databases with and without their log, folders, disks that
// cannot be written, stores in use.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "Companion/Commands/Commands.h"
#include "Companion/History/HistorySource.h"
#include "Companion/History/StagedStore.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "SampleStore/PhoneBackupWriter.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/SmallStore.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using support::CompanionWorld;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::json;

class History : public testing::Test {
 protected:
  CompanionContext context() {
    CompanionContext context = _world.context();
    context.store = place();
    context.settings = _folder / "settings";
    return context;
  }

  fs::path place() const { return _folder / "home/Library/Messages/chat.db"; }

  // A store with so many messages, the newest of this many days ago. Its log is merged in unless it is kept.
  fs::path makeStore(const std::string& name, int messages, int daysAgo = 1, bool keepsLog = false) {
    const fs::path file = _folder / name;
    support::SmallStore store(file);
    const auto chat = store.addChat({"+15551234567"});
    for (int message = 0; message < messages; ++message)
      store.addMessage(chat, instantAtSeconds(CompanionWorld::kNow - daysAgo * CompanionWorld::kDay - message), false,
                       "hello");
    if (keepsLog) store.connection().keepLogOnClose();
    return file;
  }

  Json add(const fs::path& source, bool replaces = false) {
    HistoryAddCommand command{source.string(), std::nullopt, replaces, true};
    return Json::parse(command.run(context()).output);
  }

  std::string failureOf(const auto& command) { return support::failureOf(command, context()); }

  std::string failureOfAdding(const fs::path& source) {
    return failureOf(HistoryAddCommand{source.string(), {}, false, false});
  }

  std::int64_t messagesInPlace() { return StoreProbe::of(place()).messages.value_or(-1); }

  support::TemporaryFolder _folder;
  CompanionWorld _world;
};

TEST_F(History, ADatabaseComesIntoPlaceWithItsLogPrivateAndAlone) {
  const fs::path source = makeStore("disk/chat.db", 5, 1, true);
  ASSERT_GT(fs::file_size(source.string() + "-wal"), 0U);
  EXPECT_EQ(add(source)["messages"], 5);
  EXPECT_EQ(messagesInPlace(), 5);
  struct stat status{};
  ASSERT_EQ(::stat(place().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  ASSERT_EQ(::stat(place().parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(place().parent_path())) ++files;
  EXPECT_LE(files, 3U) << "the database, and at most the log that looking at it made";
}

TEST_F(History, AFolderWithChatDbAndAWholeHomeAreFound) {
  makeStore("copied/chat.db", 2);
  EXPECT_EQ(add(_folder / "copied")["messages"], 2);
  makeStore("disk/Users/ada/Library/Messages/chat.db", 3, 0);
  EXPECT_EQ(add(_folder / "disk/Users/ada", true)["messages"], 3);
}

TEST_F(History, AnUnencryptedBackupComesIntoPlace) {
  const fs::path database = makeStore("made-up.db", 4);
  PhoneBackupWriter::wrap(_folder / "backup", database, {});
  const Json told = add(_folder / "backup");
  EXPECT_EQ(told["messages"], 4);
  EXPECT_EQ(told["kind"], "phone backup");
  EXPECT_THAT(told["missing"].get<std::string>(), HasSubstr("after the backup"));
}

TEST_F(History, AnEncryptedBackupOpensWithThePasswordFile) {
  PhoneBackupWriter::Options options;
  options.password = "geheim 123";
  PhoneBackupWriter::wrap(_folder / "backup", makeStore("made-up.db", 4), options);
  EXPECT_THAT(failureOfAdding(_folder / "backup"), HasSubstr("--password-file"));
  AtomicFile::write(_folder / "wrong", "geheim\n");
  AtomicFile::write(_folder / "right", "geheim 123\r\nmore\n");
  HistoryAddCommand command{(_folder / "backup").string(), (_folder / "wrong").string(), false, false};
  EXPECT_THAT(failureOf(command), HasSubstr("not the password"));
  EXPECT_FALSE(fs::exists(place()));
  command.passwordFile = (_folder / "right").string();
  command.run(context());
  EXPECT_EQ(messagesInPlace(), 4);
  EXPECT_EQ(failureOf(HistoryRefreshCommand()), "") << "the password file is remembered";
}

TEST_F(History, RefreshSaysHowManyCame) {
  EXPECT_THAT(failureOf(HistoryRefreshCommand()), HasSubstr("history add"));
  const fs::path source = makeStore("chat.db", 5, 3);
  EXPECT_EQ(add(source)["newMessages"], 5);
  StoreConnection connection(source, StoreConnection::Mode::existing);
  connection.execute("UPDATE message SET guid = 'another ' || ROWID WHERE ROWID <= 2");
  HistoryRefreshCommand command;
  command.json = true;
  EXPECT_EQ(Json::parse(command.run(context()).output)["newMessages"], 2);
}

TEST_F(History, ALogThatWasLeftBehindIsSaid) {
  const fs::path source = makeStore("disk/chat.db", 5, 1, true);
  fs::create_directory(_folder / "alone");
  fs::copy_file(source, _folder / "alone/chat.db");
  EXPECT_THAT(failureOfAdding(_folder / "alone"), Not(IsEmpty())) << "everything is in the log";
  EXPECT_THAT(add(source)["missing"].get<std::string>(), IsEmpty());
  {
    StoreConnection connection(source, StoreConnection::Mode::existing);
    connection.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  }
  fs::create_directory(_folder / "copied");
  fs::copy_file(source, _folder / "copied/chat.db");
  EXPECT_THAT(add(_folder / "copied", true)["missing"].get<std::string>(), HasSubstr("chat.db-wal"));
}

TEST_F(History, NothingIsChangedByWhatIsNoHistory) {
  add(makeStore("chat.db", 5));
  const auto before = AtomicFile::read(place());
  fs::create_directory(_folder / "empty-folder");
  std::ofstream(_folder / "empty.db");
  std::ofstream(_folder / "text.db") << std::string(5000, 'x');
  {
    StoreConnection other(_folder / "other.db", StoreConnection::Mode::create);
    other.execute("CREATE TABLE t (x)");
  }
  const auto whole = AtomicFile::read(makeStore("large.db", 2000));
  std::ofstream(_folder / "cut.db", std::ios::binary) << whole->substr(0, whole->size() / 2);
  std::string torn = *whole;
  for (std::size_t at = 8192; at + 4096 < torn.size(); at += 4096) torn.replace(at, 4096, std::string(4096, '\x5A'));
  std::ofstream(_folder / "torn.db", std::ios::binary) << torn;
  const std::pair<const char*, const char*> kWrong[] = {{"nowhere", "There is no"},
                                                        {"empty-folder", "neither chat.db"},
                                                        {"empty.db", "is empty"},
                                                        {"text.db", "is not a database"},
                                                        {"other.db", "not a Messages database"},
                                                        {"cut.db", "cut short"},
                                                        {"torn.db", "damaged"}};
  for (const auto& [name, words] : kWrong) EXPECT_THAT(failureOfAdding(_folder / name), HasSubstr(words)) << name;
  EXPECT_EQ(AtomicFile::read(place()), before);
  EXPECT_THAT(failureOfAdding(place()), HasSubstr("already the history in place"));
}

TEST_F(History, ANewerHistoryIsOnlyReplacedOnDemand) {
  add(makeStore("new.db", 5, 1));
  const fs::path old = makeStore("old.db", 9, 30);
  EXPECT_THAT(failureOfAdding(old), HasSubstr("--replace"));
  EXPECT_EQ(messagesInPlace(), 5);
  EXPECT_EQ(add(old, true)["messages"], 9);
  EXPECT_EQ(messagesInPlace(), 9);
  const fs::path later = makeStore("later.db", 3, 1);
  StoreConnection(later, StoreConnection::Mode::existing).execute("UPDATE message SET date = date + 1000000000");
  add(later, true);
  EXPECT_THAT(failureOfAdding(makeStore("same-day.db", 3, 1)), HasSubstr("on the same day"));
}

TEST_F(History, OneThatLacksMostOfTheOneInPlaceReplacesItOnlyOnDemand) {
  const fs::path source = makeStore("chat.db", 10, 3);
  add(source);
  const fs::path shorter = _folder / "shorter.db";
  const auto keep = [&](int messages) {
    fs::copy_file(source, shorter, fs::copy_options::overwrite_existing);
    StoreConnection(shorter, StoreConnection::Mode::existing)
        .execute(("DELETE FROM message WHERE ROWID > " + std::to_string(messages)).c_str());
  };
  keep(4);
  EXPECT_THAT(failureOfAdding(shorter),
              AllOf(HasSubstr("lacks 6 of the 10 messages"), HasSubstr("nothing was changed"), HasSubstr("--replace")));
  EXPECT_EQ(messagesInPlace(), 10);
  keep(5);
  EXPECT_EQ(add(shorter)["messages"], 5) << "half of them may have been deleted on purpose";
  EXPECT_EQ(add(source)["messages"], 10);
  keep(4);
  EXPECT_EQ(add(shorter, true)["messages"], 4);
}

TEST_F(History, AHistoryOfSomebodyElseReplacesTheOneInPlaceOnlyOnDemand) {
  add(makeStore("mine.db", 5, 3));
  const fs::path other = makeStore("other.db", 50, 1);
  StoreConnection(other, StoreConnection::Mode::existing).execute("UPDATE message SET guid = 'another ' || ROWID");
  EXPECT_THAT(failureOfAdding(other), HasSubstr("lacks 5 of the 5 messages"));
  EXPECT_EQ(messagesInPlace(), 5);
  EXPECT_EQ(add(other, true)["messages"], 50);
}

TEST_F(History, AFolderOfBackupsWillDoWhenThereIsOneInIt) {
  const fs::path database = makeStore("made-up.db", 4);
  PhoneBackupWriter::wrap(_folder / "backups/00008030-001C", database, {});
  fs::create_directories(_folder / "backups/pictures");
  const Json told = add(_folder / "backups");
  EXPECT_EQ(told["messages"], 4);
  EXPECT_EQ(told["kind"], "phone backup");
  EXPECT_EQ(told["source"], (_folder / "backups").string());
  EXPECT_EQ(failureOf(HistoryRefreshCommand()), "");
  PhoneBackupWriter::wrap(_folder / "backups/00008110-002D", database, {});
  EXPECT_THAT(failureOfAdding(_folder / "backups"), HasSubstr("several phone backups"));
  EXPECT_THAT(failureOfAdding(_folder / "backups"), HasSubstr("00008030-001C, 00008110-002D"));
}

TEST_F(History, TheLogOfALinkedDatabaseIsFoundBesideTheRealOne) {
  const fs::path source = makeStore("disk/chat.db", 5, 1, true);
  fs::create_symlink(source, _folder / "link.db");
  const Json told = add(_folder / "link.db");
  EXPECT_EQ(told["messages"], 5);
  EXPECT_THAT(told["missing"].get<std::string>(), IsEmpty());
}

TEST_F(History, OnlyTheSourceIsForgottenWhereSettingsCannotBeWritten) {
  std::ofstream(_folder / "settings") << "in the way";
  EXPECT_THAT(failureOfAdding(makeStore("chat.db", 5)),
              AllOf(HasSubstr("The history is in place, but"), HasSubstr("history refresh")));
  EXPECT_EQ(messagesInPlace(), 5);
}

TEST_F(History, AStoreInUseStaysAndItsLogIsNotLost) {
  add(makeStore("chat.db", 5, 3));
  const fs::path next = makeStore("next.db", 7, 1);
  {
    StoreConnection user(place(), StoreConnection::Mode::existing);
    EXPECT_EQ(user.queryInteger("SELECT count(*) FROM message"), 5);
    EXPECT_THAT(failureOf(HistoryAddCommand{next.string(), {}, true, false}), HasSubstr("Another program uses"));
    EXPECT_EQ(user.queryInteger("SELECT count(*) FROM message"), 5);
  }
  EXPECT_EQ(messagesInPlace(), 5);
  EXPECT_EQ(add(next, true)["messages"], 7);
  EXPECT_EQ(messagesInPlace(), 7);
}

TEST_F(History, AnOldLogDoesNotSpoilTheNewStore) {
  makeStore("home/Library/Messages/chat.db", 5, 3, true);
  fs::remove(place());
  ASSERT_TRUE(fs::exists(place().string() + "-wal"));
  EXPECT_EQ(add(makeStore("next.db", 7, 1))["messages"], 7);
  EXPECT_EQ(messagesInPlace(), 7);
}

TEST_F(History, WhatAKilledRunLeftIsRemovedByTheNext) {
  const fs::path leftover = place().parent_path() / ".pellora-history-abcdef";
  fs::create_directories(leftover);
  std::ofstream(leftover / "chat.db") << "half";
  add(makeStore("chat.db", 5));
  EXPECT_FALSE(fs::exists(leftover));
  fs::create_directories(leftover);
  HistoryStatusCommand().run(context());
  EXPECT_FALSE(fs::exists(leftover)) << "also when nothing is added any more";
  const StagedStore atWork(place());
  HistoryStatusCommand().run(context());
  EXPECT_TRUE(fs::exists(atWork.file().parent_path())) << "its maker is still there";
}

TEST_F(History, ALogOfAnotherTimeIsRefusedWhereTheDatabaseLibraryTakesIt) {
  // The log belongs to what the database became later: it passes for its own, and the pages do not fit together.
  const fs::path file = makeStore("later.db", 300, 5);
  fs::copy_file(file, _folder / "early.db");
  constexpr char kMore[] =
      "INSERT INTO message (guid, text, date) SELECT hex(randomblob(16)), hex(randomblob(300)), date FROM message";
  StoreConnection(file, StoreConnection::Mode::existing).execute(kMore);
  {
    StoreConnection again(file, StoreConnection::Mode::existing);
    again.execute((std::string(kMore) + " LIMIT 20").c_str());
    again.keepLogOnClose();
  }
  fs::copy_file(file.string() + "-wal", _folder / "early.db-wal");
  EXPECT_THAT(failureOfAdding(_folder / "early.db"), HasSubstr("Nothing was changed."));
  EXPECT_FALSE(fs::exists(place()));
}

TEST_F(History, AFolderOfAnotherUserNamesHowToCopyIt) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  makeStore("disk/chat.db", 5);
  fs::permissions(_folder / "disk", fs::perms::none);
  EXPECT_THAT(failureOfAdding(_folder / "disk"), HasSubstr("sudo cp -r"));
  EXPECT_THAT(failureOfAdding(_folder / "disk/chat.db"), HasSubstr("sudo cp -r"));
  fs::permissions(_folder / "disk", fs::perms::owner_all);
}

TEST_F(History, AReadOnlyDiskIsCopiedWithItsLog) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  const fs::path source = makeStore("disk/chat.db", 5, 1, true);
  fs::permissions(source.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(add(source)["messages"], 5);
  fs::permissions(source.parent_path(), fs::perms::owner_all);
}

TEST_F(History, AFolderOfAnotherUserIsNamedWithTheCommandThatCopiesIt) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  makeStore("Users/ada b/Library/Messages/chat.db", 5);
  const std::string remedy = "sudo cp -r '" + (_folder / "Users/ada b/Library/Messages").string() + "' ~/";
  for (const char* closed : {"Users/ada b/Library/Messages", "Users/ada b/Library", "Users/ada b"}) {
    SCOPED_TRACE(closed);
    fs::permissions(_folder / closed, fs::perms::none);
    EXPECT_THAT(failureOfAdding(_folder / "Users/ada b"), AllOf(HasSubstr("cannot be read: "), HasSubstr(remedy)));
    fs::permissions(_folder / closed, fs::perms::owner_all);
  }
}

TEST_F(History, ABackupOfAnotherUserIsNotTakenForOneWithoutMessages) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  PhoneBackupWriter::Options options;
  options.password = "geheim 123";
  PhoneBackupWriter::wrap(_folder / "backup", makeStore("made-up.db", 5), options);
  for (const char* closed : {"Manifest.plist", "Manifest.db", "3d", "3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28"}) {
    const fs::path path = _folder / "backup" / closed;
    fs::permissions(path, fs::perms::none);
    EXPECT_THAT(failureOfAdding(_folder / "backup"),
                AllOf(HasSubstr(path.string() + " cannot be read: Permission denied."), HasSubstr("sudo cp -r")));
    fs::permissions(path, fs::perms::owner_all);
  }
}

TEST_F(History, APasswordFileThatHoldsNoneIsSaid) {
  PhoneBackupWriter::Options options;
  options.password = "geheim 123";
  PhoneBackupWriter::wrap(_folder / "backup", makeStore("made-up.db", 5), options);
  const auto failureWith = [this](const fs::path& file) {
    return failureOf(HistoryAddCommand{(_folder / "backup").string(), file.string(), false, true});
  };
  EXPECT_THAT(failureWith(_folder / "none"), HasSubstr("cannot be read: not there"));
  EXPECT_THAT(failureWith(_folder.path()), HasSubstr("cannot be read: not a regular file"));
  std::ofstream(_folder / "long") << std::string(5000, 'x');
  EXPECT_THAT(failureWith(_folder / "long"), HasSubstr("too large to be a password"));
  std::ofstream(_folder / "second line") << "\ngeheim 123\n";
  EXPECT_THAT(failureWith(_folder / "second line"), HasSubstr("nothing in its first line"));
  std::ofstream(_folder / "marked") << "\xEF\xBB\xBFgeheim 123\r\n";
  EXPECT_EQ(failureWith(_folder / "marked"), "");
}

TEST_F(History, APasswordThatComesThroughAPipeIsNotRemembered) {
  PhoneBackupWriter::Options options;
  options.password = "geheim 123";
  PhoneBackupWriter::wrap(_folder / "backup", makeStore("made-up.db", 4), options);
  const fs::path pipe = _folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const auto failureWith = [&](const std::vector<std::string>& pieces) {
    std::jthread writer([&] {
      std::ofstream end(pipe);
      for (const std::string& piece : pieces) end << piece << std::flush;
    });
    return failureOf(HistoryAddCommand{(_folder / "backup").string(), pipe.string(), true, false});
  };
  EXPECT_THAT(failureWith({""}), HasSubstr("nothing in its first line"));
  EXPECT_THAT(failureWith({std::string(5000, 'x')}), HasSubstr("too large to be a password"));
  EXPECT_EQ(failureWith({"geh", "eim 123", "\nmore"}), "");
  EXPECT_EQ(failureWith({"geheim 123"}), "") << "without an end of line";
  EXPECT_EQ(messagesInPlace(), 4);
  EXPECT_THAT(failureOf(HistoryRefreshCommand()), HasSubstr("--password-file"));
}

TEST_F(History, AnUnfinishedBackupIsSaid) {
  PhoneBackupWriter::wrap(_folder / "backup", makeStore("made-up.db", 5), {});
  std::ofstream(_folder / "backup/Status.plist") << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                                    "<key>SnapshotState</key><string>uploading</string></dict></plist>";
  EXPECT_THAT(add(_folder / "backup")["missing"], HasSubstr("it is unfinished"));
}

TEST_F(History, ATooSmallDiskIsSaidBeforehand) {
  const StagedStore staged(place());
  EXPECT_NO_THROW(staged.needRoom(1));
  try {
    staged.needRoom(std::uintmax_t{1} << 60);
    FAIL() << "a disk of that size";
  } catch (const CompanionFailure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr(display::size((std::uintmax_t{1} << 60) + (std::uintmax_t{16} << 20))))
        << "what has to be free, with what is spared";
  }
}

TEST_F(History, StatusTellsSourceAndContentAndComplainsWithoutAny) {
  const CommandResult nothing = HistoryStatusCommand().run(context());
  EXPECT_THAT(nothing.complaint, HasSubstr("pellora-companion history add"));
  const fs::path source = makeStore("chat.db", 5);
  add(source);
  const CommandResult told = HistoryStatusCommand().run(context());
  EXPECT_THAT(told.complaint, IsEmpty());
  EXPECT_THAT(told.output, HasSubstr("database " + source.string()));
  const Json json = Json::parse(HistoryStatusCommand{true}.run(context()).output);
  EXPECT_EQ(json["messages"], 5);
  EXPECT_EQ(json["people"], 1);
  EXPECT_EQ(json["chats"], 1);
  EXPECT_EQ(json["addedAt"], "2026-11-21T12:00:00Z");
  EXPECT_EQ(json["newestMessageAt"], "2026-11-20T12:00:00Z");
}

TEST(HistoryRecord, WhatDoesNotDecodeIsAbsent) {
  const support::TemporaryFolder folder;
  EXPECT_FALSE(HistoryRecord::read(folder.path()).has_value());
  for (const char* text : {"", "{", "[]", "{\"source\":5}", "{\"source\":\"/x\",\"addedAt\":\"yesterday\"}"}) {
    AtomicFile::write(folder / "history.json", text);
    EXPECT_FALSE(HistoryRecord::read(folder.path()).has_value()) << text;
  }
}

}  // namespace
}  // namespace pellora
