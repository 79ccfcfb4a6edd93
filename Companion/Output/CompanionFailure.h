// Failures of commands, and the reasons why a file cannot be read.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace pellora {

// A command cannot do what was asked. The text is one sentence for the user.
class CompanionFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pellora

namespace pellora::reading_obstacle {

// Why a file that other programs write cannot be read. Never waits for the other end of a pipe put in
// its place. Tested by Tests/Companion/StoreProbeTests.cpp and CommandTests.cpp.

// A short phrase; empty when it is a regular file, or a link to one, that can be opened for reading.
std::string find(const std::filesystem::path& file);

}  // namespace pellora::reading_obstacle
