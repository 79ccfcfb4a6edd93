#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public testing::Test {
 protected:
  static void put(const fs::path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }

  static std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    return names;
  }

  static mode_t modeOf(const fs::path& file) {
    struct stat status{};
    return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }

  support::TemporaryFolder _folder;
};

TEST_F(AtomicFileTest, ReadsWhatWasWritten) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{3'000'001}}) {
    const std::string bytes(size, '\xFE');
    AtomicFile::write(_folder / "file", bytes);
    EXPECT_EQ(AtomicFile::read(_folder / "file"), bytes);
  }
  const std::string binary("a\0b\n\r\0", 6);
  AtomicFile::write(_folder / "file", binary);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), binary);
  EXPECT_EQ(namesIn(_folder.path()), std::vector<std::string>{"file"});
}

TEST_F(AtomicFileTest, WritesManyFilesAtOnceInSeveralFolders) {
  std::vector<AtomicFile::Replacement> replacements;
  for (int number = 0; number < 150; ++number)
    replacements.push_back({_folder / ("folder" + std::to_string(number % 3)) / std::to_string(number),
                            std::string(static_cast<std::size_t>(number), 'x')});
  AtomicFile::writeAll(replacements);
  for (const AtomicFile::Replacement& each : replacements) EXPECT_EQ(AtomicFile::read(each.file), each.bytes);
  for (int number = 0; number < 3; ++number)
    EXPECT_EQ(namesIn(_folder / ("folder" + std::to_string(number))).size(), 50u);
  AtomicFile::writeAll({});
}

TEST_F(AtomicFileTest, OneRefusedFileOfManyLeavesNoTemporaryFiles) {
  put(_folder / "first", "old");
  fs::create_directory(_folder / "folder");
  const std::vector<AtomicFile::Replacement> refused = {{_folder / "first", "new"}, {_folder / "first/below", "new"}};
  EXPECT_THROW(AtomicFile::writeAll(refused), FileError);
  EXPECT_EQ(AtomicFile::read(_folder / "first"), "old");
  const std::vector<AtomicFile::Replacement> renames = {{_folder / "first", "new"}, {_folder / "folder", "new"}};
  EXPECT_THROW(AtomicFile::writeAll(renames), FileError);
  EXPECT_EQ(AtomicFile::read(_folder / "first"), "new");
  EXPECT_EQ(namesIn(_folder.path()).size(), 2u);
}

TEST_F(AtomicFileTest, NewFilesAndFoldersAreTheUsersOnlyWhateverTheMask) {
  const mode_t oldMask = ::umask(0);
  AtomicFile::write(_folder / "open/deep/file", "a");
  ::umask(0277);
  AtomicFile::write(_folder / "closed/deep/file", "a");
  ::umask(oldMask);
  EXPECT_EQ(modeOf(_folder / "open"), 0700u);
  EXPECT_EQ(modeOf(_folder / "open/deep"), 0700u);
  EXPECT_EQ(modeOf(_folder / "open/deep/file"), 0600u);
  EXPECT_EQ(modeOf(_folder / "closed/deep"), 0700u);
  EXPECT_EQ(AtomicFile::read(_folder / "closed/deep/file"), "a");
}

TEST_F(AtomicFileTest, LeavesExistingFoldersAlone) {
  fs::create_directory(_folder / "theirs");
  ::chmod((_folder / "theirs").c_str(), 0755);
  AtomicFile::write(_folder / "theirs/mine/file", "a");
  EXPECT_EQ(modeOf(_folder / "theirs"), 0755u);
  EXPECT_EQ(modeOf(_folder / "theirs/mine"), 0700u);
}

TEST_F(AtomicFileTest, ReplacesAFileThatHadAnotherMode) {
  put(_folder / "file", "old");
  ::chmod((_folder / "file").c_str(), 0644);
  AtomicFile::write(_folder / "file", "new");
  EXPECT_EQ(modeOf(_folder / "file"), 0600u);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "new");
}

TEST_F(AtomicFileTest, ReplacesALinkAndNotWhatItLeadsTo) {
  put(_folder / "target", "old");
  fs::create_symlink("target", _folder / "file");
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "old");
  AtomicFile::write(_folder / "file", "new");
  EXPECT_FALSE(fs::is_symlink(_folder / "file"));
  EXPECT_EQ(AtomicFile::read(_folder / "target"), "old");
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "new");
}

TEST_F(AtomicFileTest, WritesThroughAFolderThatIsALink) {
  fs::create_directory(_folder / "real");
  fs::create_symlink("real", _folder / "link");
  AtomicFile::write(_folder / "link/new/file", "a");
  EXPECT_EQ(AtomicFile::read(_folder / "real/new/file"), "a");
}

TEST_F(AtomicFileTest, WritesInTheWorkingFolderByABareName) {
  const fs::path before = fs::current_path();
  fs::current_path(_folder.path());
  AtomicFile::write("bare", "a");
  AtomicFile::write("deep/bare", "b");
  fs::current_path(before);
  EXPECT_EQ(AtomicFile::read(_folder / "bare"), "a");
  EXPECT_EQ(AtomicFile::read(_folder / "deep/bare"), "b");
}

TEST_F(AtomicFileTest, TakesNamesAsLongAsTheFileSystemDoes) {
  const std::string name(255, 'n');
  AtomicFile::write(_folder / name, "a");
  EXPECT_EQ(AtomicFile::read(_folder / name), "a");
}

TEST_F(AtomicFileTest, WhatIsNoRegularFileReadsAsAbsent) {
  fs::create_directory(_folder / "folder");
  ASSERT_EQ(::mkfifo((_folder / "pipe").c_str(), 0600), 0);
  fs::create_symlink("nowhere", _folder / "dangling");
  fs::create_symlink("circle", _folder / "circle");
  fs::create_symlink("pipe", _folder / "linkToPipe");
  for (const std::string name : {"missing", "folder", "pipe", "dangling", "circle", "linkToPipe", "file/below", ""})
    EXPECT_EQ(AtomicFile::read(_folder / name), std::nullopt) << name;
  EXPECT_EQ(AtomicFile::read("/dev/zero"), std::nullopt);
  EXPECT_EQ(AtomicFile::read(""), std::nullopt);
}

TEST_F(AtomicFileTest, PipeInTheTargetsPlaceIsReplaced) {
  ASSERT_EQ(::mkfifo((_folder / "file").c_str(), 0600), 0);
  AtomicFile::write(_folder / "file", "a");
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "a");
}

TEST_F(AtomicFileTest, FileLargerThanTheLimitReadsAsAbsent) {
  put(_folder / "file", "12345");
  EXPECT_EQ(AtomicFile::read(_folder / "file", 5), "12345");
  EXPECT_EQ(AtomicFile::read(_folder / "file", 4), std::nullopt);
  EXPECT_EQ(AtomicFile::read(_folder / "file", 0), std::nullopt);
  put(_folder / "empty", "");
  EXPECT_EQ(AtomicFile::read(_folder / "empty", 0), "");
}

TEST_F(AtomicFileTest, FileWithoutPermissionReadsAsAbsent) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  put(_folder / "file", "a");
  ::chmod((_folder / "file").c_str(), 0);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), std::nullopt);
}

TEST_F(AtomicFileTest, RefusedWritesThrowAndLeaveNothingBehind) {
  put(_folder / "file", "old");
  fs::create_directory(_folder / "folder");
  fs::create_symlink("nowhere", _folder / "dangling");
  for (const std::string name : {"file/below", "folder", "folder/", "dangling/file"})
    EXPECT_THROW(AtomicFile::write(_folder / name, "new"), FileError) << name;
  EXPECT_THROW(AtomicFile::write(_folder / std::string(256, 'n'), "new"), FileError);
  EXPECT_THROW(AtomicFile::write("", "new"), FileError);
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "old");
  EXPECT_EQ(namesIn(_folder.path()).size(), 3u);
}

TEST_F(AtomicFileTest, ErrorNamesTheFileAndTheReason) {
  fs::create_directory(_folder / "folder");
  try {
    AtomicFile::write(_folder / "folder", "new");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.code(), EISDIR);
    EXPECT_EQ(std::string(error.what()), "Couldn't write " + (_folder / "folder").string() + ": Is a directory");
  }
}

TEST_F(AtomicFileTest, KilledWriterLeavesTheOldFileOrTheNewOne) {
  const std::string first(400'000, 'a');
  const std::string second(500'000, 'b');
  for (int round = 0; round < 20; ++round) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    support::ForkedProcess writer([&] {
      for (int count = 0;; ++count) {
        AtomicFile::write(_folder / "file", count % 2 == 0 ? first : second);
        if (::write(ends[1], "x", 1) != 1) return 1;
      }
    });
    char byte = 0;
    for (int count = 0; count <= round % 3; ++count) ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    writer.kill();
    writer.wait();
    ::close(ends[0]);
    ::close(ends[1]);
    const auto bytes = AtomicFile::read(_folder / "file");
    EXPECT_TRUE(bytes == first || bytes == second);
    AtomicFile::removeLeftovers(_folder.path());
    EXPECT_EQ(namesIn(_folder.path()), std::vector<std::string>{"file"});
  }
}

TEST_F(AtomicFileTest, ClearingLeftoversDisturbsNoRunningWrite) {
  constexpr int kWrites = 200;
  const auto writeMany = [this](const std::string& name) {
    for (int count = 0; count < kWrites; ++count) AtomicFile::write(_folder / name, std::to_string(count));
    return 0;
  };
  support::ForkedProcess first([&] { return writeMany("first"); });
  support::ForkedProcess second([&] { return writeMany("second"); });
  support::ForkedProcess cleaner([this] {
    while (true) AtomicFile::removeLeftovers(_folder.path());
    return 0;
  });
  EXPECT_EQ(first.wait(), 0);
  EXPECT_EQ(second.wait(), 0);
  cleaner.kill();
  cleaner.wait();
  EXPECT_EQ(AtomicFile::read(_folder / "first"), std::to_string(kWrites - 1));
  EXPECT_EQ(AtomicFile::read(_folder / "second"), std::to_string(kWrites - 1));
  EXPECT_EQ(namesIn(_folder.path()).size(), 2u);
}

TEST_F(AtomicFileTest, RemovesAbandonedTemporaryFilesAndNothingElse) {
  const fs::path abandoned = _folder / ".pellora-6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10.tmp";
  const fs::path held = _folder / ".pellora-6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E11.tmp";
  const std::vector<std::string> others = {"a.json", ".a.tmp", "b.tmp", ".pellora-x", ".pellora-.tmp"};
  for (const std::string& name : others) put(_folder / name, "");
  fs::create_directory(_folder / ".pellora-folder.tmp");
  fs::create_symlink("a.json", _folder / ".pellora-link.tmp");
  ASSERT_EQ(::mkfifo((_folder / ".pellora-pipe.tmp").c_str(), 0600), 0);
  put(abandoned, "part");
  put(held, "part");
  const int holder = ::open(held.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(holder, LOCK_EX), 0);
  AtomicFile::removeLeftovers(_folder.path());
  EXPECT_FALSE(fs::exists(abandoned));
  EXPECT_TRUE(fs::exists(held));
  EXPECT_EQ(namesIn(_folder.path()).size(), others.size() + 4);
  ::close(holder);
  AtomicFile::removeLeftovers(_folder.path());
  EXPECT_FALSE(fs::exists(held));
}

TEST_F(AtomicFileTest, ClearingWhatIsNoFolderDoesNothing) {
  put(_folder / "file", "a");
  AtomicFile::removeLeftovers(_folder / "missing");
  AtomicFile::removeLeftovers(_folder / "file");
  EXPECT_EQ(AtomicFile::read(_folder / "file"), "a");
}

}  // namespace
}  // namespace pellora
