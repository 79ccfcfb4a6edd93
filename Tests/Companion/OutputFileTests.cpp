#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/OutputFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string failureOf(const std::string& name) {
  try {
    output_file::write(name, "new");
  } catch (const CompanionFailure& failure) {
    return failure.what();
  }
  return {};
}

TEST(OutputFile, ReplacesARegularFileAndKeepsItPrivate) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "page.html") << "something longer than the new text";
  output_file::write(folder / "page.html", "new");
  EXPECT_EQ(support::contentOf(folder / "page.html"), "new");
  EXPECT_EQ(fs::status(folder / "page.html").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(OutputFile, WritesBehindALinkWhichStays) {
  const support::TemporaryFolder folder;
  fs::create_directory(folder / "there");
  std::ofstream(folder / "there/old.html") << "old";
  fs::create_symlink("there/old.html", folder / "link.html");
  fs::create_symlink("there/new.html", folder / "dangling.html");
  output_file::write(folder / "link.html", "new");
  output_file::write(folder / "dangling.html", "new");
  EXPECT_TRUE(fs::is_symlink(folder / "link.html"));
  EXPECT_EQ(support::contentOf(folder / "there/old.html"), "new");
  EXPECT_EQ(support::contentOf(folder / "there/new.html"), "new");
}

TEST(OutputFile, WritesIntoAPipeWhichStays) {
  const support::TemporaryFolder folder;
  const fs::path pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = support::contentOf(pipe); });
  output_file::write(pipe, "new");
  reader.join();
  EXPECT_EQ(read, "new");
  EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST(OutputFile, WritesIntoAPipeThatIsOpenUnderANumber) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  output_file::write("/proc/self/fd/" + std::to_string(ends[1]), "new");
  ::close(ends[1]);
  char read[4] = {};
  EXPECT_EQ(::read(ends[0], read, sizeof read), 3);
  EXPECT_STREQ(read, "new");
  ::close(ends[0]);
}

TEST(OutputFile, WritesIntoADeviceAndTellsWhenItIsFull) {
  output_file::write("/dev/null", "new");
  EXPECT_THAT(failureOf("/dev/full"), HasSubstr("Cannot write /dev/full: No space left on device."));
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(OutputFile, SaysWhyItCannotWrite) {
  const support::TemporaryFolder folder;
  fs::create_symlink("b", folder / "a");
  fs::create_symlink("a", folder / "b");
  std::ofstream(folder / "file") << "old";
  EXPECT_THAT(failureOf(folder / "a"), HasSubstr("Too many levels of symbolic links."));
  EXPECT_THAT(failureOf(folder.path()), HasSubstr("it is a folder."));
  EXPECT_THAT(failureOf(folder / "no/page.html"), HasSubstr("No such file or directory."));
  EXPECT_THAT(failureOf(folder / "file/page.html"), HasSubstr("Cannot write"));
  EXPECT_THAT(failureOf((folder / "file").string() + "/"), HasSubstr("file is not a folder."));
}

}  // namespace
}  // namespace pellora
