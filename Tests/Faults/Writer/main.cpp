// Writes one version of one kind of file, for tests that disturb it: KIND ROOT older|newer [SECONDS]. Exits with 0
// when the file counts as written, else 1. With a number of seconds it goes on writing both versions in turn.
#include <QCoreApplication>
#include <chrono>
#include <string>

#include "Tests/Faults/WrittenFile.h"

using pellora::support::WrittenFile;

namespace {

int writeFor(const WrittenFile& file, std::chrono::seconds duration) {
  const auto end = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < end)
    for (const auto version : {WrittenFile::Version::older, WrittenFile::Version::newer})
      if (!file.write(version)) return 1;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  const QCoreApplication application(argc, argv);
  const WrittenFile file(argv[1], argv[2]);
  if (argc > 4) return writeFor(file, std::chrono::seconds(std::stoi(argv[4])));
  const bool isNewer = std::string(argv[3]) == "newer";
  return file.write(isNewer ? WrittenFile::Version::newer : WrittenFile::Version::older) ? 0 : 1;
}
